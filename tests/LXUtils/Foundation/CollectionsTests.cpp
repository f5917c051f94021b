#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXUtils/Foundation/LinkedList.h"
#include "LXUtils/Foundation/SegmentedVector.h"
#include "LXUtils/Foundation/SharedRecord.h"

namespace lx {
namespace {

TEST(LinkedList, ElementsStayInTheirPlacesWhileOthersComeAndGo) {
  std::mt19937 random(3);
  LinkedList<std::shared_ptr<int>> list;
  std::vector<std::shared_ptr<int>> expected;
  std::vector<const std::shared_ptr<int>*> places;
  // First mostly growing over many blocks, then mostly shrinking, with turns at the blocks' ends.
  for (int round = 0; round < 6000; ++round) {
    const bool grows = random() % 10 < (round < 3000 ? 8U : 2U);
    if (grows || expected.empty()) {
      expected.push_back(std::make_shared<int>(round));
      list.push_back(expected.back());
      places.push_back(&list.back());
    } else {
      list.pop_back();
      EXPECT_EQ(expected.back().use_count(), 1);
      expected.pop_back();
      places.pop_back();
    }
    ASSERT_EQ(list.size(), expected.size());
    if (expected.empty()) continue;
    ASSERT_EQ(list.back(), expected.back());
    if (round % 500 != 0) continue;
    std::size_t index = 0;
    for (const auto& element : std::as_const(list)) {
      ASSERT_EQ(element, expected[index]);
      ASSERT_EQ(&element, places[index++]);
    }
    ASSERT_EQ(index, expected.size());
  }
}

TEST(SharedRecord, LivesAsLongAsItsLastCopyOnAnyThread) {
  struct Record {
    std::shared_ptr<int> value;
  };
  const auto value = std::make_shared<int>(7);
  {
    SharedRecord<Record> record(Record{value});
    const auto copyAndDrop = [copy = record] {
      for (int i = 0; i < 1000; ++i) EXPECT_EQ(*SharedRecord(copy)->value, 7);
    };
    const std::jthread first(copyAndDrop);
    const std::jthread second(copyAndDrop);
    SharedRecord<Record> other(Record{nullptr});
    other = record;
    record = SharedRecord<Record>();
    EXPECT_FALSE(record);
    EXPECT_EQ(other->value, value);
  }
  EXPECT_EQ(value.use_count(), 1);
}

TEST(SegmentedVector, ElementsKeepTheirIndexInCopiesToo) {
  SegmentedVector<std::size_t> numbers;
  for (std::size_t i = 0; i < 6000; ++i) ASSERT_EQ(numbers.emplace_back(i), i);
  auto copy = numbers;
  for (std::size_t i = 6000; i < 30'000; ++i) copy.emplace_back(i);
  EXPECT_EQ(numbers.size(), 6000U);
  ASSERT_EQ(copy.size(), 30'000U);
  for (std::size_t i = 0; i < copy.size(); ++i) ASSERT_EQ(copy[i], i);
  const auto* const place = &copy[6500];
  const auto moved = std::move(copy);
  EXPECT_EQ(&moved[6500], place);
  EXPECT_TRUE(copy.empty());  // NOLINT(bugprone-use-after-move): that is what is asked
  EXPECT_EQ(copy.emplace_back(7U), 7U);
}

}  // namespace
}  // namespace lx
