#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Rendering/DeltaOperations.h"

namespace lx {
namespace {

using Indices = std::vector<std::int64_t>;

Indices linesIn(const Delta& delta, std::int64_t lower, std::int64_t upper) {
  Indices indices;
  const auto done = eachLine(delta, {IndexOffset{lower}, IndexOffset{upper}}, Delta::defaultLineSeparator,
                             [&](bool&, std::int64_t index, Range<IndexOffset>, const auto&) -> Result<void> {
                               indices.push_back(index);
                               return {};
                             });
  EXPECT_TRUE(done);
  return indices;
}

TEST(DeltaOperations, LinesAreThoseThatTheRangeMeets) {
  // Lines at 0..<3, 3..<4 and 4..<6.
  const Delta ended = Delta().insert("\xf0\x9f\x98\x80\n\nc\n");
  const Delta open = Delta().insert("ab\n\ncd");
  const struct {
    std::int64_t lower, upper;
    Indices lines;
  } cases[] = {
      {0, 6, {0, 1, 2}}, {0, 3, {0}}, {2, 4, {0, 1}}, {3, 5, {1, 2}}, {4, 99, {2}}, {6, 9, {}},   {5, 2, {}},
      {0, 0, {0}},       {3, 3, {1}}, {4, 4, {2}},    {6, 6, {2}},    {7, 7, {}},   {-1, -1, {}},
  };
  for (const auto& [lower, upper, lines] : cases) {
    EXPECT_EQ(linesIn(ended, lower, upper), lines) << lower << " to " << upper;
    EXPECT_EQ(linesIn(open, lower, upper), lines) << lower << " to " << upper;
  }
  const auto invalid = Range<IndexOffset>::invalid();
  EXPECT_EQ(linesIn(ended, invalid.lowerBound.utf16Offset, invalid.upperBound.utf16Offset), Indices());
}

TEST(DeltaOperations, TheWalkStopsByFlagAndByFailure) {
  const Delta delta = Delta().insert("a\nb\nc\n");
  const Range<IndexOffset> all{IndexOffset{0}, IndexOffset{6}};
  int seen = 0;
  EXPECT_TRUE(eachLine(delta, all, U'\n', [&](bool& stop, std::int64_t, auto, const auto&) -> Result<void> {
    stop = ++seen == 2;
    return {};
  }));
  EXPECT_EQ(seen, 2);
  const auto failed = eachLine(delta, all, U'\n', [&](bool&, std::int64_t, auto, const auto&) -> Result<void> {
    ++seen;
    return fail(UnwrapError{"enough"});
  });
  EXPECT_EQ(seen, 3);
  EXPECT_TRUE(!failed && failed.error().is(UnwrapError{"enough"}));
}

TEST(DeltaOperations, LengthsAreSumsThatDoNotOverflow) {
  const auto delta = Delta::fromJSON(
      R"([{"retain":5,"attributes":{}},{"insert":"a\ud83d\ude00"},{"insert":{"image":"x"}},{"delete":9223372036854775807},
          {"delete":7},{"retain":1}])");
  ASSERT_TRUE(delta);
  EXPECT_EQ(cursorStart(*delta), 5);
  EXPECT_EQ(insertedLength(*delta), 4);
  EXPECT_EQ(deletedLength(*delta), std::numeric_limits<std::int64_t>::max());
  const Delta bold = Delta().retain(5, Attributes({{"bold", {true}}}));
  EXPECT_EQ(cursorStart(bold), 0);
  EXPECT_EQ(cursorStart(Delta()), 0);
  EXPECT_EQ(cursorStart(Delta().insert("a").retain(1)), 0);
}

TEST(DeltaOperations, ConditionsDecide) {
  Delta delta;
  for (const bool holds : {false, true}) {
    retainIf(delta, [=] { return holds; }, 2);
    insertIf(delta, [=] { return holds; }, "a");
  }
  EXPECT_EQ(delta, Delta().retain(2).insert("a"));
}

}  // namespace
}  // namespace lx
