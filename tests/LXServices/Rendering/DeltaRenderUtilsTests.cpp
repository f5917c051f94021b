#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Rendering/DeltaRenderUtils.h"
#include "LXServices/Rendering/LineParsingStateMachine.h"
#include "LXServices/Rendering/ListNumbering.h"

namespace lx::DeltaRenderUtils {
namespace {

using ListType = Attributes::ListType;

/// The attributes of a line that is given as "bullet 2", "h1" or "body".
Attributes attributesOf(const std::string& text) {
  std::istringstream words(text);
  std::string kind;
  std::int64_t indent = 0;
  words >> kind;
  std::vector<Attributes::Attribute> attributes;
  if (kind[0] == 'h') {
    attributes.push_back(Attributes::Attribute::header(std::stoi(kind.substr(1))));
  } else if (kind != "body") {
    attributes.push_back({"list", {kind}});
  }
  if (words >> indent) attributes.push_back(Attributes::Attribute::indent(indent));
  return Attributes(std::move(attributes));
}

std::string letter(std::optional<ListType> type) {
  return type ? std::string(1, "obc"[static_cast<std::size_t>(*type)]) : "-";
}

std::string described(const LineInfo& line, const ListNumbering& numbers) {
  if (const auto heading = line.lineType.heading()) return "h" + std::to_string(heading->level);
  const auto item = line.lineType.listItem();
  if (!item) return "b";
  return std::to_string(numbers.number(item->info.get()).value()) + "#" + std::to_string(item->indexInList);
}

std::string described(const ListInfo& list, const ListNumbering& numbers) {
  const auto parent = numbers.number(list.parentList().get());
  std::string text = "list " + std::to_string(numbers.number(&list).value()) + " @" + std::to_string(list.indent()) +
                     " <" + (parent ? std::to_string(*parent) : "-") + ":";
  for (const auto& item : list.items()) {
    text += " " + letter(item.type);
    if (item.nestedList) text += ":" + std::to_string(numbers.number(item.nestedList.get()).value());
  }
  return text;
}

struct ListCase {
  std::string name;
  Delta document;
  std::vector<std::string> expected;
};

std::vector<ListCase> listCases() {
  std::ifstream file(std::string(LX_TEST_DATA) + "/delta/lists.txt");
  std::vector<ListCase> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.starts_with("case ")) {
      cases.push_back({line.substr(5), {}, {}});
    } else if (line.starts_with("list ")) {
      cases.back().expected.push_back(line);
    } else {
      const auto equals = line.find(" = ");
      cases.back().document.insert("x").insert("\n", attributesOf(line.substr(0, equals)));
      cases.back().expected.push_back(line.substr(equals + 3));
    }
  }
  return cases;
}

TEST(DeltaRenderUtils, ListsFollowTheirRules) {
  const auto cases = listCases();
  ASSERT_GE(cases.size(), 14U);
  for (const auto& c : cases) {
    const auto info = buildRenderInfo(c.document);
    const ListNumbering numbers(info);
    std::vector<std::string> actual;
    for (const auto& [index, line] : info.lines) actual.push_back(described(line, numbers));
    for (const auto* list : numbers.lists()) actual.push_back(described(*list, numbers));
    EXPECT_EQ(actual, c.expected) << c.name;
  }
}

TEST(DeltaRenderUtils, LinesKeepTheirAttributesAndGivenIndent) {
  EXPECT_EQ(buildRenderInfo(Delta()), RenderInfo::empty());
  EXPECT_EQ(buildRenderInfo(Delta().retain(3)), RenderInfo::empty());

  const auto document = Delta::fromJSON(
      R"([{"insert":"a\nb"},{"insert":"\n","attributes":{"list":"bullet","indent":9000000000,"x":[1]}},
          {"insert":"c\n","attributes":{"header":2.5,"list":"dotted","indent":"1"}},{"insert":{"image":"d"}}])");
  ASSERT_TRUE(document);
  const auto info = buildRenderInfo(*document);
  EXPECT_EQ(info.linesRange, (Range<std::int64_t>{0, 4}));
  ASSERT_EQ(info.lines.size(), 4U);
  EXPECT_EQ(info.lines.find(4), nullptr);
  EXPECT_EQ(*info.lines.find(0), LineInfo());
  EXPECT_EQ(info.lines.find(1)->indent(), 9'000'000'000);
  EXPECT_EQ(info.lines.find(1)->attributes, document->operations()[1].asInsert()->attributes);
  EXPECT_EQ(*info.lines.find(2), (LineInfo{{}, document->operations()[2].asInsert()->attributes}));
  EXPECT_EQ(*info.lines.find(3), LineInfo());
}

/// A document of random lines, some of them in pieces.
Delta randomDocument(std::mt19937& random) {
  const char* const kinds[] = {"bullet", "ordered", "checked", "unchecked", "body", "h1", "h0"};
  Delta document;
  for (auto count = random() % 60; count > 0; --count) {
    if (random() % 3 != 0) document.insert("h\xc3\xa9 \xf0\x9f\x98\x80");
    if (random() % 5 == 0) document.insert(AnyJSON::Object{{"image", {}}});
    const auto indent = static_cast<int>(random() % 6) - 1;
    document.insert("\n", attributesOf(kinds[random() % 7] + (" " + std::to_string(indent))));
  }
  if (random() % 2 == 0) document.insert("end");
  return document;
}

TEST(DeltaRenderUtils, RandomDocumentsKeepTheStructureWhole) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const auto document = randomDocument(random);
    const auto info = buildRenderInfo(document);
    ASSERT_EQ(info, buildRenderInfo(document));
    ASSERT_EQ(info.linesRange.upperBound, static_cast<std::int64_t>(info.lines.size()));
    const ListNumbering numbers(info);
    std::map<const ListInfo*, std::int64_t> lastIndex;
    for (const auto& [index, line] : info.lines) {
      const auto item = line.lineType.listItem();
      if (!item) continue;
      // Items without a line come only first, so that a list's first line is its first or second item.
      auto& last = lastIndex[item->info.get()];
      if (last == 0) last = item->info->items().front().nestedList && item->indexInList == 2 ? 1 : 0;
      ASSERT_EQ(item->indexInList, ++last);
    }
    for (const auto& [list, last] : lastIndex) ASSERT_EQ(last, static_cast<std::int64_t>(list->items().size()));
    for (const auto* list : numbers.lists()) {
      const auto parent = list->parentList();
      if (!parent) continue;
      ASSERT_TRUE(numbers.number(parent.get()));
      ASSERT_EQ(parent->indent() + 1, list->indent());
    }
  }
}

TEST(DeltaRenderUtils, EqualityIsThatOfStructureNotOfObjects) {
  const auto render = [](std::initializer_list<const char*> lines) {
    Delta document;
    for (const char* line : lines) document.insert("\n", attributesOf(line));
    return buildRenderInfo(document);
  };
  EXPECT_EQ(render({"bullet", "ordered 1", "bullet"}), render({"bullet", "ordered 1", "bullet"}));
  EXPECT_FALSE(render({"bullet", "bullet 2"}) == render({"bullet", "bullet 1"}));
  EXPECT_FALSE(render({"checked"}) == render({"unchecked"}));
  // The same lines, but the list at indent 1 has an item of its own only in the first.
  EXPECT_FALSE(render({"bullet", "bullet 2", "bullet 1"}) == render({"bullet", "bullet 1", "bullet 1"}));
}

TEST(LineType, WithoutALevelOrAListItIsBodyText) {
  EXPECT_EQ(LineType(LineType::Heading{-1}), LineType());
  EXPECT_EQ(LineType(LineType::ListItem{nullptr, 3}), LineType());
  EXPECT_EQ(LineType(LineType::Heading{2}).heading()->level, 2);
  const LineType item(LineType::ListItem{ListInfo::make(0), 2});
  EXPECT_FALSE(item.heading());
  EXPECT_EQ(item.listItem()->indexInList, 2);
}

TEST(ListInfo, AppendingANestedListReplacesTheLastItem) {
  const auto list = ListInfo::make(0);
  const auto nested = ListInfo::make(1);
  list->append(nested, ListType::ordered);
  ASSERT_EQ(list->items().size(), 1U);
  EXPECT_EQ(list->items().back().type, ListType::ordered);
  EXPECT_EQ(nested->parentList(), list);

  const auto other = ListInfo::make(1);
  list->append({std::nullopt, nullptr});
  list->append(other, ListType::bullet);
  list->append(nested, ListType::checklist);
  ASSERT_EQ(list->items().size(), 2U);
  EXPECT_EQ(list->items().back().type, ListType::bullet);
  EXPECT_EQ(list->items().back().nestedList, nested);
}

TEST(ListInfo, TreesOfAnyDepthAreFreedAndCompared) {
  auto root = ListInfo::make(0);
  std::weak_ptr<ListInfo> last = root;
  for (int depth = 1; depth < 200'000; ++depth) {
    auto nested = ListInfo::make(depth);
    last.lock()->append(nested, ListType::bullet);
    last = nested;
  }
  RenderInfo info;
  info.lines.insertOrAssign(0, {LineType::ListItem{root, 1}, {}});
  EXPECT_EQ(ListNumbering(info).lists().size(), 200'000U);
  EXPECT_EQ(info, RenderInfo(info));
  root.reset();
  info = RenderInfo::empty();
  EXPECT_TRUE(last.expired());
}

TEST(ListInfo, ListsAreFreedOnTwoThreadsAtOnce) {
  for (int round = 0; round < 50; ++round) {
    Delta document;
    for (const char* line : {"bullet", "bullet 1", "ordered 2", "bullet 1"}) document.insert("\n", attributesOf(line));
    auto info = std::make_optional(buildRenderInfo(document));
    auto nested = info->lines.find(2)->lineType.listItem()->info;
    std::jthread other([kept = std::move(nested)]() mutable {
      EXPECT_EQ(kept->items().size(), 1U);
      kept.reset();
    });
    info.reset();
  }
}

TEST(LineParsingStateMachine, TakesAttributesFromItsOwnStateAndNoticesThatNobodyObserves) {
  LineParsingStateMachine machine({});
  machine.header(2, attributesOf("h2 3"));
  machine.body(std::get<LineParsingStateMachine::Header>(machine.state()).attributes);
  EXPECT_EQ(std::get<LineParsingStateMachine::Body>(machine.state()).attributes, attributesOf("h2 3"));
}

}  // namespace
}  // namespace lx::DeltaRenderUtils
