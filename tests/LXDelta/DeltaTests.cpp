#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXDelta/Delta.h"
#include "LXDelta/DeltaLines.h"

#include "support/Examples.h"

namespace lx {
namespace {

using ListType = Attributes::ListType;

const Attributes bold({{"bold", {true}}});

std::string jsonOf(const Delta& delta) { return encodeJSONText(delta).value_or("none"); }

TEST(Delta, WhatIsAppendedMergesWithTheLikeBeforeIt) {
  const Delta delta = Delta()
                          .insert("a")
                          .insert("b", Attributes())
                          .insert("")
                          .insert("c", bold)
                          .insert("d", Attributes({{"bold", {true}}}))
                          .insert(AnyJSON::Object{{"image", {}}}, bold)
                          .insert(AnyJSON::Object{{"image", {}}}, bold)
                          .retain(0)
                          .retain(2)
                          .retain(3)
                          .retain(-3)
                          .retain(1, bold)
                          .delete_(1)
                          .delete_(std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(
      jsonOf(delta),
      R"({"ops":[{"insert":"ab"},{"insert":"cd","attributes":{"bold":true}},)"
      R"({"insert":{"image":null},"attributes":{"bold":true}},{"insert":{"image":null},"attributes":{"bold":true}},)"
      R"({"retain":5},{"retain":1,"attributes":{"bold":true}},{"delete":9223372036854775807}]})");
}

TEST(Delta, JSONComesBackAsItCame) {
  const std::string text =
      R"({"ops":[{"insert":"caf\u0000 é 日本 😀\n"},{"insert":"a"},{"insert":"b"},{"insert":{"video":{"a":[1,2.5,null]}}},)"
      R"({"insert":"\n","attributes":{"indent":1,"list":"checked","x":{"y":[true]}}},{"insert":"\n"},)"
      R"({"retain":7,"attributes":{"bold":null}},{"delete":0}]})";
  const auto delta = Delta::fromJSON(text);
  ASSERT_TRUE(delta) << delta.error().description();
  EXPECT_EQ(jsonOf(*delta), text);
  EXPECT_EQ(Delta::fromJSON(text.substr(7, text.size() - 8)), *delta);
  EXPECT_EQ(Delta::fromJSON(R"( { "author" : { } , "ops" : [ ] } )"), Delta());
  EXPECT_EQ(Delta::fromJSON(R"([{"insert":"a","attributes":{}}])"), Delta().insert("a"));
  EXPECT_EQ(jsonOf(Delta().insert("\xff")), "none");
}

TEST(Delta, TextsComeBackWhateverTheyAreSpeltWith) {
  std::mt19937 random(5);
  // What is usual in a string, and what stops its reading block by block.
  const std::pair<std::string_view, std::string_view> pieces[] = {
      {"plain text of some length ", "plain text of some length "},
      {"a", "a"},
      {R"(\n)", "\n"},
      {R"(\")", "\""},
      {R"(\u00e9\ud83d\ude00)", "\xc3\xa9\xf0\x9f\x98\x80"},
      {R"(\u0000)", {"\0", 1}},
      {"\xc3\xa9\xe6\x97\xa5\xe6\x9c\xac", "\xc3\xa9\xe6\x97\xa5\xe6\x9c\xac"},
      {"\xf0\x9f\x98\x80\xe0\xa4\x95\xed\x95\x9c", "\xf0\x9f\x98\x80\xe0\xa4\x95\xed\x95\x9c"},
  };
  const std::string_view faults[] = {"\n",
                                     "\\x",
                                     "\\ud800",
                                     "\x80",
                                     "\xc3",
                                     "\xe6\x97",
                                     "\xf0\x9f\x98",
                                     "\xc1\x80",
                                     "\xe0\x9f\x80",
                                     "\xed\xa0\x80",
                                     "\xf0\x8f\x80\x80",
                                     "\xf4\x90\x80\x80",
                                     "\xf5\x80\x80\x80"};
  for (int round = 0; round < 300; ++round) {
    // First plain texts of each length at which something changes.
    std::string spelt(round < 70 ? static_cast<std::size_t>(round) : 0, 'a');
    std::string meant = spelt;
    const auto kinds = 1 + random() % std::size(pieces);
    const unsigned longest = round % 10 == 0 ? 9000 : 80;
    for (auto size = round < 70 ? 0 : random() % longest; spelt.size() < size;) {
      const auto& [spelling, meaning] = pieces[random() % kinds];
      spelt += spelling;
      meant += meaning;
    }
    // How much comes after a text decides how it is read, too.
    const auto read = [after = random() % 200](const std::string& text) {
      return Delta::fromJSON("[{\"insert\":\"" + text + "\"}" + std::string(after, ' ') + "]");
    };
    const auto delta = read(spelt);
    ASSERT_TRUE(delta);
    ASSERT_EQ(delta->operations().front().asInsert()->content.text(), meant);
    // A fault is met where it stands, however the text before it was read.
    for (const auto fault : faults) {
      const auto failed = read(spelt + std::string(fault) + std::string(random() % 60, 'x'));
      ASSERT_FALSE(failed);
      const auto place = 12 + spelt.size() + (fault == "\\ud800" ? 6 : 0);
      ASSERT_EQ(failed.error().description(), "[0] at byte " + std::to_string(place) + ": malformed") << fault;
    }
  }
}

TEST(Content, KeepsItsValueInCopiesWhateverItHolds) {
  const Content values[] = {Content(),
                            "short",
                            std::string(31, 'a'),
                            std::string(32, 'b'),
                            std::string(5000, 'c'),
                            AnyJSON::Object{{"image", {std::string("x")}}}};
  const auto described = [](const Content& content) {
    return content.embed() ? "embed " + encodeJSONText(*content.embed()).value() : std::string(content.text().value());
  };
  for (const auto& from : values) {
    const auto expected = described(from);
    for (Content to : values) {
      to = from;
      ASSERT_EQ(described(to), expected);
      to = *&to;
      ASSERT_EQ(described(to), expected);
      Content moved(std::move(to));
      ASSERT_TRUE(to.text());  // NOLINT(bugprone-use-after-move): some text is left, never half an embed
      to = std::move(moved);
      ASSERT_EQ(described(to), expected);
      ASSERT_EQ(to, from);
      if (!to.text()) continue;
      to.append(std::string(20, 'd'));
      ASSERT_EQ(described(to), expected + std::string(20, 'd'));
      to.append(*to.text());
      ASSERT_EQ(to.text()->size(), 2 * (expected.size() + 20));
      ASSERT_EQ(described(from), expected);
    }
  }
}

TEST(Delta, UsualAndUnusualSpellingsOfAnOperationReadAlike) {
  const Delta expected =
      Delta().insert("a\n").insert("\n", Attributes(std::vector{Attributes::Attribute::list(ListType::bullet)}));
  for (
      const auto* const text : {
          R"([{"insert":"a\n"},{"insert":"\n","attributes":{"list":"bullet"}}])",
          R"([{"insert":"a\n" },{"insert":"\n","attributes":{"list":"bullet"} }])",
          R"([{"insert":"a\n","x":1},{"insert":"\n","attributes":{"list":"bullet"},"x":[{}]}])",
          R"([{ "insert" : "a\n" } , {"attributes":{"list":"bullet"},"insert":"\n"}])",
          R"([{"insert":"x","insert":"a\n"},{"insert":{},"attributes":{"a":1},"insert":"\n","attributes":{"list":"bullet"}}])",
          R"([{"insert":"a\u000a","attributes":null},{"insert":"\n","attributes":{"list":"bullet"}}])",
      }) {
    const auto delta = Delta::fromJSON(text);
    ASSERT_TRUE(delta) << text << delta.error().description();
    EXPECT_EQ(*delta, expected) << text;
  }
  // The braces of a text or of an object inside do not end known attributes.
  const auto nested = Delta::fromJSON(
      R"([{"insert":"a","attributes":{"x":{}}},{"insert":"a","attributes":{"x":{},"y":1}},{"insert":"a","attributes":{"x":"}"}},
          {"insert":"a","attributes":{"x":"}","y":2}},{"insert":"a","attributes":{"x":1}},{"insert":"a","attributes":{"x":1}}])");
  ASSERT_TRUE(nested);
  std::vector<std::string> attributes;
  for (const auto& operation : nested->operations()) {
    attributes.push_back(encodeJSONText(operation.asInsert()->attributes).value());
  }
  EXPECT_THAT(attributes, testing::ElementsAre(R"({"x":{}})", R"({"x":{},"y":1})", R"({"x":"}"})", R"({"x":"}","y":2})",
                                               R"({"x":1})", R"({"x":1})"));
}

TEST(Delta, AttributesReadTheirLineFormats) {
  const std::tuple<std::string_view, std::optional<ListType>, std::optional<std::int64_t>, std::optional<std::int64_t>>
      cases[] = {{R"({"list":"ordered","indent":2})", ListType::ordered, {}, 2},
                 {R"({"list":"bullet","header":1.0})", ListType::bullet, 1, {}},
                 {R"({"list":"unchecked"})", ListType::checklist, {}, {}},
                 {R"({"list":"checked","indent":null})", ListType::checklist, {}, {}},
                 {R"({"list":"Bullet","header":"1","indent":0.5})", {}, {}, {}},
                 {R"({"list":true,"header":1e30,"indent":-3})", {}, {}, -3}};
  for (const auto& [text, list, header, indent] : cases) {
    const auto delta = Delta::fromJSON(R"([{"insert":"\n","attributes":)" + std::string(text) + "}]");
    const auto& attributes = delta.value().operations()[0].asInsert()->attributes;
    EXPECT_EQ(std::tuple(attributes.list(), attributes.header(), attributes.indent()), std::tuple(list, header, indent))
        << text;
  }
  const Attributes made({Attributes::Attribute::list(ListType::checklist), Attributes::Attribute::header(2)});
  EXPECT_EQ(encodeJSONText(made).value(), R"({"header":2,"list":"unchecked"})");
  EXPECT_EQ(Attributes(std::vector<Attributes::Attribute>()), Attributes());
}

TEST(Delta, WhatIsNoDocumentIsRefusedWithItsPlace) {
  const auto refusal = [](std::string_view text) {
    const auto delta = Delta::fromJSON(text);
    EXPECT_TRUE(!delta && delta.error().as<DecodingError>()) << text.substr(0, 80);
    return delta ? "none" : delta.error().description();
  };
  const auto expect = [&](std::initializer_list<const char*> examples) {
    for (const auto* example : examples) EXPECT_EQ(refusal(halves(example).first), halves(example).second) << example;
  };
  expect({" -> byte 0: malformed", "ops -> byte 0: malformed", "nojson -> byte 0: malformed",
          R"([{"insert":nope}] -> [0] at byte 11: malformed)", "7 -> document: wrong type", "{} -> ops: missing",
          R"({"ops":{}} -> ops: wrong type)", R"({"ops":[7]} -> ops[0]: wrong type)",
          R"([{"insert":"a"},[]] -> [1]: wrong type)",
          R"({"ops":[{"insert":"a"},{"insert":7}]} -> ops[1].insert: wrong type)",
          R"([{"insert":null}] -> [0].insert: wrong type)", R"([{"retain":"1"}] -> [0].retain: wrong type)",
          R"([{"insert":"a"},{"insert":"b"},{"retain":-1}] -> [2].retain: out of range)",
          R"([{"delete":1.5}] -> [0].delete: out of range)",
          R"([{"delete":9223372036854775808}] -> [0].delete: out of range)"});
  expect({R"([{"attributes":{}}] -> [0]: missing)", R"([{"insert":"a","delete":1}] -> [0]: malformed)",
          R"([{"insert":"a","attributes":[]}] -> [0].attributes: wrong type)",
          R"([{"insert":"a"},{"insert":"\ud800"}] -> [1] at byte 33: malformed)",
          R"([{"insert":"\udc00\ud800"}] -> [0] at byte 18: malformed)",
          "[{\"insert\":\"\xc0\xaf\"}] -> [0] at byte 12: malformed",
          "[{\"insert\":\"\xf0\x9f\x98\"}] -> [0] at byte 12: malformed",
          R"([{"insert":"a -> [0] at byte 13: malformed)", R"([{"insert":"a"},] -> [1] at byte 16: malformed)",
          R"([{"insert":"a",}] -> [0] at byte 15: malformed)", R"([{"insert":"a"}}] -> [1] at byte 15: malformed)",
          R"([{"insert":"a"}]] -> byte 16: malformed)", R"([{"retain":01}] -> [0] at byte 12: malformed)",
          R"([{"insert":"a","x":1e999}] -> [0] at byte 19: malformed)"});
  EXPECT_EQ(refusal("[{\"insert\":" + std::string(100'000, '[')), "[0] at byte 73: out of range");
  EXPECT_EQ(refusal("[{\"x\":" + std::string(1'000'000, '[')), "[0] at byte 68: out of range");
  // The same depth is too much in the usual spelling and in any other.
  for (const std::string begin : {R"([{"insert":"a","attributes":{"x":)", R"([{ "insert":"a","attributes":{"x":)"}) {
    const auto nested = [&](std::size_t levels) {
      return begin + std::string(levels, '[') + std::string(levels, ']') + "}}]";
    };
    EXPECT_TRUE(Delta::fromJSON(nested(61)));
    EXPECT_EQ(refusal(nested(62)), "[0] at byte " + std::to_string(begin.size() + 61) + ": out of range");
  }
}

std::vector<std::string> linesOf(const Delta& delta, char32_t separator) {
  std::vector<std::string> lines;
  EXPECT_TRUE(delta.eachLine(separator, [&](bool&, std::int64_t index, const Delta& line, const auto& attributes) {
    EXPECT_EQ(index, static_cast<std::int64_t>(lines.size()));
    lines.push_back(jsonOf(line) + (attributes.isEmpty() ? "-" : encodeJSONText(attributes).value()));
    return Result<void>();
  }));
  return lines;
}

TEST(Delta, LinesEndWithTheirSeparator) {
  const Delta delta = Delta()
                          .insert(
                              "a\r\xe2\x80\xa8"
                              "b")
                          .insert("\nc\n", bold)
                          .insert(AnyJSON::Object{{"i", {}}});
  EXPECT_THAT(linesOf(delta, U'\n'),
              testing::ElementsAre("{\"ops\":[{\"insert\":\"a\\r\xe2\x80\xa8"
                                   "b\"},"
                                   R"({"insert":"\n","attributes":{"bold":true}}]}{"bold":true})",
                                   R"({"ops":[{"insert":"c\n","attributes":{"bold":true}}]}{"bold":true})",
                                   R"({"ops":[{"insert":{"i":null}}]}-)"));
  EXPECT_THAT(linesOf(delta, U'\u2028'), testing::SizeIs(2));
  EXPECT_THAT(linesOf(delta, 0xD800), testing::SizeIs(1));
  // Without the line that the retain cuts off.
  EXPECT_THAT(linesOf(Delta().insert("a\nb").retain(1).insert("c\n"), U'\n'), testing::SizeIs(1));
}

TEST(Delta, LinesGoOnOverOperationsThatWereNotMerged) {
  const auto lines = [](std::string_view operations) {
    std::string text;
    const auto delta = Delta::fromJSON("[" + std::string(operations) + "]");
    for (DeltaLines walk(delta.value()); walk.next();) {
      text += std::to_string(walk.changeLength()) + (walk.attributes().isEmpty() ? " " : "* ");
    }
    return text;
  };
  EXPECT_EQ(lines(R"({"insert":""},{"insert":"a"},{"insert":""},{"insert":"b\nc","attributes":{"x":1}},{"insert":""},
                     {"insert":{"i":1}},{"insert":"\n"},{"insert":"\n"},{"insert":""})"),
            "3* 3 1 ");
  EXPECT_EQ(lines(R"({"insert":"a\n"},{"insert":{}},{"insert":""})"), "2 1 ");
  EXPECT_EQ(lines(R"({"insert":"a\n\nb"},{"retain":1},{"insert":"c\n"})"), "2 1 ");
  EXPECT_EQ(lines(R"({"insert":"a\n"},{"delete":1},{"insert":"c\n"})"), "2 ");
}

TEST(Delta, LengthsAddUpOverRandomLines) {
  std::mt19937 random(11);
  const std::string_view pieces[] = {
      "a", "\n", "\xc3\xa9", "\xe6\x97\xa5", "\xf0\x9f\x98\x80", "long enough for a heap\n"};
  constexpr std::int64_t lengths[] = {1, 1, 1, 1, 2, 23};
  for (int round = 0; round < 200; ++round) {
    Delta delta;
    std::int64_t expected = 0;
    for (auto count = random() % 80; count > 0; --count) {
      const auto piece = random() % 7;
      const auto attributes = random() % 2 == 0 ? bold : Attributes();
      delta.insert(piece == 6 ? Content(AnyJSON::Object()) : Content(pieces[piece]), attributes);
      expected += piece == 6 ? 1 : lengths[piece];
    }
    ASSERT_EQ(delta.changeLength(), expected);
    Delta joined;
    std::int64_t total = 0;
    for (DeltaLines lines(delta); lines.next(); total += lines.changeLength()) {
      const auto line = lines.delta();
      ASSERT_EQ(lines.changeLength(), line.changeLength());
      for (const auto& operation : line.operations()) {
        joined.insert(operation.asInsert()->content, operation.asInsert()->attributes);
      }
    }
    ASSERT_EQ(joined, delta);
    ASSERT_EQ(total, expected);
    ASSERT_EQ(Delta::fromJSON(jsonOf(delta)), delta);
    delta.retain(5).delete_(3);
    ASSERT_EQ(delta.changeLength(), expected - 3);
  }
}

}  // namespace
}  // namespace lx
