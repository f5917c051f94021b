#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXUtils/System/BackgroundExecutor.h"

namespace lx {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BackgroundExecutor, ExpiresEachOpenTaskOnceAndLetsHandlersEndTasks) {
  BackgroundExecutorExtension executor;
  std::vector<std::string> expired;
  const auto first = executor.beginBackgroundTask("first", [&] { expired.push_back("first"); });
  executor.endBackgroundTask(first);
  BackgroundExecutor::Identifier third = 0;
  const auto second = executor.beginBackgroundTask("second", [&] {
    expired.push_back("second");
    executor.endBackgroundTask(third);
  });
  third = executor.beginBackgroundTask("third", [&] { expired.push_back("third"); });
  EXPECT_THAT(executor.openTasks(), ElementsAre("second", "third"));

  executor.expireAll();
  executor.expireAll();
  EXPECT_THAT(expired, ElementsAre("second"));
  EXPECT_THAT(executor.openTasks(), ElementsAre("second"));
  executor.endBackgroundTask(second);
  executor.endBackgroundTask(second);
  EXPECT_THAT(executor.openTasks(), IsEmpty());
}

}  // namespace
}  // namespace lx
