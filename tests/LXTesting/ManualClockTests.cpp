#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXTesting/ManualClock.h"
#include "LXUtils/Concurrency/DispatchQueue.h"

namespace lx {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

// Runs what is enqueued at once, so that a test sees the time at which it was enqueued.
class ImmediateQueue final : public DispatchQueue {
 public:
  void async(Work work) override { work(); }
  void sync(const std::function<void()>& work) override { work(); }
  const std::string& label() const override { return label_; }

 private:
  std::string label_ = "immediate";
};

TEST(ManualClock, FiresTimersInTheOrderOfTheirDeadlinesAtTheirDeadlines) {
  ManualClock clock;
  const Date start = clock.now();
  const auto queue = std::make_shared<ImmediateQueue>();
  std::vector<std::string> fired;
  const auto record = [&](std::string name) {
    return [&, name] { fired.push_back(name + " " + std::to_string((clock.now() - start) / 1s)); };
  };
  clock.after(4s, queue, record("d"));
  clock.after(2s, queue, record("b"));
  clock.after(2s, queue, record("c"));
  clock.after(1s, queue, [&] { clock.after(500ms, queue, record("a")); });
  clock.after(0s, queue, record("now"));
  auto cancelled = clock.after(3s, queue, record("cancelled"));
  cancelled.cancel();
  EXPECT_EQ(clock.pendingTimers(), 4U);
  EXPECT_EQ(clock.nextDeadline(), clock.steadyNow() + 1s);

  clock.advance(3s);
  EXPECT_THAT(fired, ElementsAre("now 0", "a 1", "b 2", "c 2"));
  EXPECT_EQ(clock.now(), start + 3s);
  clock.advance(1s);
  EXPECT_EQ(fired.back(), "d 4");
  EXPECT_EQ(clock.nextDeadline(), std::nullopt);
}

}  // namespace
}  // namespace lx
