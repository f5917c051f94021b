#include <array>

#include <gtest/gtest.h>

#include "LXUtils/Foundation/AnyJSON.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/URL.h"

#include "support/Examples.h"

namespace lx {
namespace {

enum class Level { low, high };

struct Status {
  std::string rawValue;
  bool operator==(const Status&) const = default;
};

struct Account {
  std::string token;
  std::optional<std::string> policy;
  bool operator==(const Account&) const = default;
};

/// One of two keys in the object of whoever holds it.
struct Grant {
  std::string text;
  bool isCode = false;
};

struct Envelope {
  Grant grant;
  std::optional<std::string> name;
};

struct TenfoldFormat {
  static Decoded<std::int64_t> decode(JSONValue value) {
    const auto number = value.asInt64();
    if (!number) return std::unexpected(DecodingFault::malformed);
    return *number * 10;
  }
  static void encode(JSONWriter& writer, std::int64_t value) { writer.integer(value / 10); }
};

struct Sample {
  std::int64_t id = 0;
  std::optional<int> small;
  double ratio = 0;
  bool flag = true;
  std::vector<std::string> groups{"standard"};
  std::optional<std::map<std::string, std::string>> custom;
  Level level = Level::low;
  std::optional<Status> status;
  std::optional<URL> link;
  std::optional<URL> absolute;
  std::optional<Date> date;
  std::optional<std::int64_t> tens;
  std::vector<Account> accounts;
  Account own;
  bool operator==(const Sample&) const = default;
};

}  // namespace

template <>
struct RawValues<Level> {
  static constexpr std::array rows{RawValueRow{Level::low, "LOW"}, RawValueRow{Level::high, "HIGH"}};
};

template <>
struct Coding<Account> {
  static constexpr auto fields = std::tuple{field("token", &Account::token), field("policy", &Account::policy)};
};

template <>
struct Coding<Grant> {
  static void encodeMembers(JSONWriter& writer, const Grant& grant) {
    writer.key(grant.isCode ? "code" : "access_token");
    writer.string(grant.text);
  }
};

template <>
struct Coding<Envelope> {
  static constexpr auto fields = std::tuple{flattened(&Envelope::grant), field("name", &Envelope::name)};
};

template <>
struct Coding<Sample> {
  static constexpr auto fields = std::tuple{field("id", &Sample::id),
                                            field("small", &Sample::small),
                                            field("ratio", &Sample::ratio),
                                            defaulted("flag", &Sample::flag),
                                            tolerant("groups", &Sample::groups),
                                            field("custom", &Sample::custom),
                                            field("level", &Sample::level),
                                            field("status", &Sample::status),
                                            field("link", &Sample::link),
                                            field<AbsoluteURLFormat>("absolute", &Sample::absolute),
                                            field("date", &Sample::date),
                                            tolerant<TenfoldFormat>("tens", &Sample::tens),
                                            field("accounts", &Sample::accounts),
                                            flattened(&Sample::own)};
};

namespace {

constexpr std::string_view full =
    R"({"id":7,"small":-3,"ratio":0.25,"flag":false,"groups":["a","b"],"custom":{"k":"v","z":""},"level":"HIGH",)"
    R"("status":"NEW","link":"../x","absolute":"https://a.test/b?c","date":0.5,"tens":4,)"
    R"("accounts":[{"token":"t"},{"token":"","policy":"p"}],"token":"own"})";

/// The full text with one member replaced, or left out for an empty value.
std::string with(std::string_view key, std::string_view value) {
  const auto document = JSONDocument::parse(full);
  std::string text = "{\"unknown\":[{}]";
  std::size_t at = 1;
  for (std::size_t i = 0; i < document->root().size(); ++i) {
    const std::string_view name = document->root().key(i);
    const std::size_t begin = full.find("\"" + std::string(name) + "\":", at);
    const bool isLast = i + 1 == document->root().size();
    const std::size_t end =
        isLast ? full.size() - 1 : full.find(",\"" + std::string(document->root().key(i + 1)) + "\":", begin);
    if (name != key) {
      text += "," + std::string(full.substr(begin, end - begin));
    } else if (!value.empty()) {
      text += ",\"" + std::string(key) + "\":" + std::string(value);
    }
    at = end;
  }
  return text + "}";
}

TEST(Coding, OneTableReadsAndWritesInItsOrder) {
  const auto sample = decodeJSON<Sample>(full);
  ASSERT_TRUE(sample) << sample.error().description();
  EXPECT_EQ(sample->small, -3);
  EXPECT_EQ(sample->custom, (std::map<std::string, std::string>{{"k", "v"}, {"z", ""}}));
  EXPECT_EQ(sample->level, Level::high);
  EXPECT_EQ(sample->status, Status{"NEW"});
  EXPECT_EQ(sample->date, referenceDate + std::chrono::milliseconds(500));
  EXPECT_EQ(sample->tens, 40);
  EXPECT_EQ(sample->accounts, (std::vector<Account>{{"t", {}}, {"", "p"}}));
  EXPECT_EQ(sample->own.token, "own");
  EXPECT_EQ(encodeJSONText(*sample).value_or("failed"), full);
}

TEST(Coding, AFaultNamesItsPathAndNeverTheValue) {
  const auto expect = [](std::initializer_list<const char*> examples) {
    for (const auto* example : examples) {
      const auto [member, description] = halves(example);
      const auto equals = member.find('=');
      const auto sample = decodeJSON<Sample>(with(member.substr(0, equals), member.substr(equals + 1)));
      EXPECT_EQ(sample ? "none" : sample.error().description(), description) << example;
    }
  };
  expect({"id= -> id: missing", "id=null -> id: wrong type", "id=\"7\" -> id: wrong type", "id=1.5 -> id: out of range",
          "id=1e19 -> id: out of range", "id=7.0 -> none", "small=null -> none", "small= -> none",
          "small=2147483648 -> small: out of range", "ratio=true -> ratio: wrong type", "flag=null -> none",
          "flag= -> none", "flag=0 -> flag: wrong type", "groups=[1] -> none", "groups=5 -> none"});
  expect({"custom=[] -> custom: wrong type", R"(custom={"a":"b","c":1} -> custom[1]: wrong type)",
          R"(custom={"a":null} -> custom[0]: wrong type)", "level=\"high\" -> level: malformed",
          "level=1 -> level: wrong type", "status={} -> status: wrong type", "link=\"\" -> link: malformed",
          "link=\"a b\" -> link: malformed", "absolute=\"//a.test/b\" -> absolute: malformed",
          "date=\"2001\" -> date: wrong type", "date=1e300 -> date: out of range", "tens=\"x\" -> none",
          "accounts=[7] -> accounts[0]: wrong type", "accounts=[{}] -> accounts[0].token: missing",
          "token= -> token: missing", "token=false -> token: wrong type"});
  EXPECT_EQ(decodeJSON<std::vector<Account>>(R"([{"token":"b","policy":3}])").error().description(),
            "[0].policy: wrong type");
  EXPECT_EQ(decodeJSON<Sample>("[]").error().description(), "wrong type");
  EXPECT_EQ(decodeJSON<std::vector<std::vector<int>>>("[[1],[2,null]]").error().description(), "[1][1]: wrong type");
  EXPECT_EQ(decodeJSON<Account>("{\"token\"").error().typeName(), "DecodingError.malformed");
}

TEST(Coding, WhatCannotBeReadLeavesTheDefaultOfTolerantAndDefaultedFields) {
  EXPECT_EQ(decodeJSON<Sample>(with("groups", "[\"a\",1]"))->groups, std::vector<std::string>{"standard"});
  EXPECT_EQ(decodeJSON<Sample>(with("groups", "null"))->groups, std::vector<std::string>{"standard"});
  EXPECT_EQ(decodeJSON<Sample>(with("groups", "[]"))->groups, std::vector<std::string>{});
  EXPECT_EQ(decodeJSON<Sample>(with("tens", "null"))->tens, std::nullopt);
  EXPECT_TRUE(decodeJSON<Sample>(with("flag", "null"))->flag);
}

TEST(Coding, AbsentOptionalsAreLeftOutAndAVariantIsWrittenIntoItsHolder) {
  Sample sample;
  sample.own.token = "x";
  EXPECT_EQ(encodeJSONText(sample).value_or("failed"),
            R"({"id":0,"ratio":0,"flag":true,"groups":["standard"],"level":"LOW","accounts":[],"token":"x"})");
  EXPECT_EQ(encodeJSONText(Envelope{{"c", true}, "n"}).value_or("failed"), R"({"code":"c","name":"n"})");
  EXPECT_EQ(encodeJSONText(Grant{"t", false}).value_or("failed"), R"({"access_token":"t"})");
}

TEST(Coding, AnyValueCanBeOwned) {
  const auto any = decodeJSON<AnyJSON>(R"({"b":[null,true,1.0,1.5,"x",{}],"a":1,"a":2})");
  ASSERT_TRUE(any);
  EXPECT_EQ(encodeJSONText(*any).value_or("failed"), R"({"a":2,"b":[null,true,1,1.5,"x",{}]})");
  EXPECT_EQ(decodeJSON<AnyJSON::Object>("[]").error().description(), "wrong type");
  EXPECT_EQ(encodeJSONText(AnyJSON{AnyJSON::Array{AnyJSON{std::string("\xFF")}}}).error().description(),
            "[0]: not UTF-8");
}

TEST(Coding, AnEncodingFaultNamesItsPath) {
  Sample sample;
  sample.accounts = {{"good", {}}, {"good", "\xFF"}};
  const auto text = encodeJSON(sample);
  ASSERT_FALSE(text);
  EXPECT_EQ(text.error().description(), "accounts[1].policy: not UTF-8");
  sample = {};
  sample.custom = {{"a", "b"}, {"c", "\xC3"}};
  EXPECT_EQ(encodeJSON(sample).error().description(), "custom[1]: not UTF-8");
  sample = {};
  sample.ratio = std::numeric_limits<double>::infinity();
  EXPECT_EQ(encodeJSON(sample).error().description(), "ratio: not a finite number");
}

TEST(Coding, DatesComeBackToTheMicrosecondAndTheEndsOfTheRangeStayReadable) {
  using std::chrono::microseconds;
  for (const Date date : {referenceDate, referenceDate + microseconds(1), referenceDate - microseconds(1),
                          Date(microseconds(1'700'000'000'123'456)), Date()}) {
    const auto text = encodeJSONText(date);
    EXPECT_EQ(decodeJSON<Date>(*text).value(), date) << *text;
  }
  EXPECT_EQ(encodeJSONText(referenceDate + microseconds(700'000'000'123'456)).value(), "700000000.123456");
  for (const Date end : {Date::min(), Date::max()}) {
    const auto back = decodeJSON<Date>(*encodeJSONText(end));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back > referenceDate, end > referenceDate);
    EXPECT_TRUE(decodeJSON<Date>(*encodeJSONText(*back)));
  }
}

}  // namespace
}  // namespace lx
