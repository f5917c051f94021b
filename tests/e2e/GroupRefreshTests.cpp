#include <algorithm>

#include "e2e/Group.h"

namespace lx {
namespace {

using GroupRefresh = GroupTest;

TEST_F(GroupRefresh, SixteenProcessesWithManyCallersEachSendOneRequest) {
  constexpr int processes = 16;
  constexpr int callers = 64;
  const auto old = signInExpired();
  std::vector<std::unique_ptr<Probe>> probes;
  for (int i = 0; i < processes; ++i) probes.push_back(start("process-" + std::to_string(i)));
  for (const auto& probe : probes) arrive(*probe);

  for (const auto& probe : probes) probe->process.writeLine("get " + std::to_string(callers));
  std::vector<ProbeAnswer> answers;
  for (const auto& probe : probes) std::ranges::move(probe->answers(), std::back_inserter(answers));

  EXPECT_EQ(refreshes(), 1U);
  ASSERT_EQ(answers.size(), static_cast<std::size_t>(processes * callers));
  const auto current = stored();
  EXPECT_NE(current.accessToken, old.accessToken);
  EXPECT_TRUE(std::ranges::all_of(answers, [&](const auto& answer) { return answer.holds(current); }));
}

TEST_F(GroupRefresh, FailsAtOnceWithoutDescriptorsOrInAForkedChildAndWorksAfterwards) {
  const auto old = signInExpired();
  const auto probe = startReady("process");
  const auto outcomeOf = [&](const char* command) {
    probe->process.writeLine(command);
    return probe->process.readLine();
  };
  probe->process.writeLine("limit 0");
  EXPECT_EQ(outcomeOf("user"), "error AtomicFileError.unreadable") << "the store needs one, too";
  EXPECT_EQ(stored(), old);
  probe->process.writeLine("limit 1024");
  const auto user = outcomeOf("user");
  EXPECT_TRUE(user.starts_with("user ")) << user;

  EXPECT_EQ(outcomeOf("fork"), "error RuntimeError.forked");
  EXPECT_EQ(probe->process.readLine(), "left 0");
  EXPECT_EQ(outcomeOf("user"), user);
  EXPECT_EQ(refreshes(), 1U);
}

}  // namespace
}  // namespace lx
