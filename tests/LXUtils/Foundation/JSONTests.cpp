#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "LXUtils/Foundation/CodingError.h"
#include "LXUtils/Foundation/JSON.h"
#include "LXUtils/Foundation/JSONWriter.h"

#include "support/Examples.h"

namespace lx {
namespace {

std::string refusal(std::string_view text, const JSONLimits& limits = {}) {
  const auto document = JSONDocument::parse(text, limits);
  return document ? "none" : document.error().description();
}

TEST(JSON, WholeNumbersAreReadHoweverTheyAreSpelt) {
  constexpr auto none = std::nullopt;
  const struct {
    std::string_view text;
    std::optional<std::int64_t> integer;
    double real;
  } cases[] = {
      {"3600.0", 3600, 3600},
      {"36e2", 3600, 3600},
      {"-0", 0, 0},
      {"1.5", none, 1.5},
      {"2.2250738585072014e-308", none, 2.2250738585072014e-308},
      {"1e-400", 0, 0},
      {"0e+00099999999999", 0, 0},
      {"1e0000000000000000002", 100, 100},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max(), 9223372036854775807.0},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min(), -9223372036854775808.0},
      {"9223372036854775808", none, 9223372036854775808.0},
      {"-9223372036854775808.0", std::numeric_limits<std::int64_t>::min(), -9223372036854775808.0},
      {"1e300", none, 1e300},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto document = JSONDocument::parse(c.text);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->root().asInt64(), c.integer);
    EXPECT_EQ(document->root().asDouble(), c.real);
  }
}

TEST(JSON, WhatIsNoJSONIsRefusedWithItsPlace) {
  for (const auto* example : {" -> 0", "{\"a\":1,} -> 7", "[1,2 -> 4", "[1] x -> 4", "{}{} -> 2", "\xEF\xBB\xBF{} -> 0",
                              "[01] -> 2", "[NaN] -> 1", "// c\n1 -> 0", "[1e400] -> 6", "[-1e999999999999] -> 16",
                              "\"\xC0\xAF\" -> 1", "\"\xED\xA0\x80\" -> 1"}) {
    const auto [text, place] = halves(example);
    EXPECT_EQ(refusal(text), "byte " + std::string(place) + ": malformed") << text;
  }
  EXPECT_EQ(refusal({"\"a\0b\"", 5}), "byte 2: malformed");
  EXPECT_NE(refusal(R"("\ud800")"), "none");
}

TEST(JSON, BoundsHoldBeforeMemoryOrStackAreSpent) {
  const std::string bomb = repeated("[", 1'000'000);
  EXPECT_EQ(refusal(bomb), "out of range");
  EXPECT_EQ(refusal(repeated("[", 64) + repeated("]", 64)), "none");
  EXPECT_EQ(refusal(repeated("[", 65) + repeated("]", 65)), "out of range");
  EXPECT_EQ(refusal(repeated("{\"a\":", 65) + "1" + repeated("}", 65)), "out of range");
  EXPECT_EQ(refusal("[1,2,3]", {.maxSize = 6}), "out of range");
  EXPECT_EQ(refusal("[1,2,3]", {.maxSize = 7}), "none");
  EXPECT_EQ(refusal("[1,2,3]", {.maxValues = 3}), "out of range");
  EXPECT_EQ(refusal("[1,2,3]", {.maxValues = 4}), "none");
}

TEST(JSON, TextsAreKeptWithAndWithoutEscapes) {
  // Long enough that the parser delivers the text in parts.
  const std::string longText = repeated("0123456789\\n", 900);
  const std::string text =
      R"({"pl\u0061in":"a","\u0000":"\u00e9\ud83d\ude00x\u0000y","":"","long":")" + longText + "\"}";
  auto document = JSONDocument::parse(std::string(text));
  ASSERT_TRUE(document);
  const JSONDocument moved = std::move(*document);
  const JSONValue root = moved.root();
  EXPECT_EQ(root.member("plain")->asString(), "a");
  using namespace std::string_view_literals;
  EXPECT_EQ(root.member("\0"sv)->asString(), "\xC3\xA9\xF0\x9F\x98\x80x\0y"sv);
  EXPECT_EQ(root.member("")->asString(), "");
  EXPECT_EQ(root.member("long")->asString(), repeated("0123456789\n", 900));
}

TEST(JSON, MembersKeepTheirOrderAndTheLastOfEqualKeysCounts) {
  const auto document = JSONDocument::parse(R"({"b":[1,[2,{}],null],"a":true,"b":"x"})");
  ASSERT_TRUE(document);
  const JSONValue root = document->root();
  ASSERT_EQ(root.size(), 3U);
  EXPECT_EQ(root.key(0), "b");
  EXPECT_EQ(root.key(1), "a");
  const JSONValue list = root.element(0);
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list.element(1).element(0).asInt64(), 2);
  EXPECT_EQ(list.element(1).element(1).kind(), JSONValue::Kind::object);
  EXPECT_TRUE(list.element(2).isNull());
  EXPECT_EQ(root.member("b")->asString(), "x");
  EXPECT_EQ(root.member("a")->asBool(), true);
  EXPECT_FALSE(root.member("c"));
  EXPECT_FALSE(list.member("b"));
}

TEST(JSONWriter, NumbersAreWrittenWithoutExponentWhereThatIsShortEnough) {
  for (const auto& [value, text] : {std::pair(100.0, "100"),
                                    {-1, "-1"},
                                    {0, "0"},
                                    {1e15, "1000000000000000"},
                                    {0.1, "0.1"},
                                    {1e-6, "0.000001"},
                                    {1e-7, "1e-07"},
                                    {1e300, "1e+300"},
                                    {1.0 / 3, "0.3333333333333333"},
                                    {700000000.123456, "700000000.123456"}}) {
    JSONWriter writer;
    writer.number(value);
    EXPECT_EQ(std::move(writer).finish().value_or("failed"), text);
  }
}

TEST(JSONWriter, EscapesOnlyWhatTheGrammarNeeds) {
  JSONWriter writer;
  writer.beginArray();
  writer.string("a/b \"q\" \\ \b\f\n\r\t\x01\x1f\x7f \xC3\xA9\xE2\x80\xA8\xF0\x9F\x98\x80");
  writer.beginObject();
  writer.key("k\"");
  writer.null();
  writer.key("l");
  writer.beginArray();
  writer.endArray();
  writer.endObject();
  writer.boolean(false);
  writer.endArray();
  EXPECT_EQ(std::move(writer).finish().value_or("failed"),
            "[\"a/b \\\"q\\\" \\\\ \\b\\f\\n\\r\\t\\u0001\\u001f\x7f \xC3\xA9\xE2\x80\xA8\xF0\x9F\x98\x80\","
            "{\"k\\\"\":null,\"l\":[]},false]");
}

TEST(JSONWriter, RefusesWhatIsNotUTF8OrNotFinite) {
  for (const std::string_view text :
       {"\x80", "a\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF0\x9F\x98", "\xFF"}) {
    JSONWriter writer;
    writer.string(text);
    EXPECT_EQ(std::move(writer).finish().error().typeName(), "EncodingError.notUTF8");
  }
  for (const double value : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    JSONWriter writer;
    writer.number(value);
    EXPECT_EQ(std::move(writer).finish().error().typeName(), "EncodingError.notFinite");
  }
}

}  // namespace
}  // namespace lx
