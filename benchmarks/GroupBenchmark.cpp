// What an app group's processes wait for one another. The figures to hold: 16 processes with 64 callers each send one
// request, and the last caller is answered within 5 ms of the store's write; from the death of the process that holds
// the lock to its successor's request at most 300 ms.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXTesting/DevBackend.h"

#include "TemporaryFolder.h"
#include "process/Probe.h"

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

const std::string tokenPath = "/v4/api/oauth2/token";

[[noreturn]] void giveUp(const char* reason) {
  std::fprintf(stderr, "%s\n", reason);
  std::exit(1);
}

struct Group {
  std::unique_ptr<lx::Probe> start(const std::string& container) const {
    return std::make_unique<lx::Probe>(
        std::vector<std::string>{LX_GROUP_PROBE, folder.path(), backend->address(), backend->caFile(), container});
  }
  static void arrive(lx::Probe& probe) {
    if (probe.process.readLine() != "ready") giveUp("a process did not start");
  }
  void signInExpired() const {
    const auto minted = backend->mintCredentials("ordinary").value();
    const auto stored = store->storeOAuth2Credentials(lx::OAuth2Credentials{
        minted.accessToken, minted.refreshToken, lx::Clock::system()->now() - std::chrono::hours(1)});
    if (!stored) giveUp("the store cannot be written");
  }
  void awaitRequests(std::size_t count) const {
    if (!backend->journal().waitForRequests(count, tokenPath, std::chrono::seconds(20))) giveUp("no request came");
  }

  std::unique_ptr<lx::DevBackend> backend = lx::DevBackend::start().value();
  lx::TemporaryFolder folder;
  std::shared_ptr<lx::FileCredentialsStorage> store = *lx::FileCredentialsStorage::make(folder.path());
};

void print(const char* name, std::vector<double> milliseconds) {
  std::ranges::sort(milliseconds);
  std::printf("%s: %.2f ms at the median, %.2f to %.2f ms\n", name, milliseconds[milliseconds.size() / 2],
              milliseconds.front(), milliseconds.back());
}

void measureSharedRefresh(int rounds) {
  constexpr int callers = 64;
  const Group group;
  std::vector<std::unique_ptr<lx::Probe>> probes;
  for (int i = 0; i < 16; ++i) probes.push_back(group.start("process-" + std::to_string(i)));
  for (const auto& probe : probes) group.arrive(*probe);
  std::vector<double> delays;
  for (int round = 0; round < rounds; ++round) {
    group.signInExpired();
    for (const auto& probe : probes) probe->process.writeLine("get " + std::to_string(callers));
    auto stored = std::chrono::nanoseconds::max();
    std::chrono::nanoseconds last{};
    for (const auto& probe : probes) {
      const auto answers = probe->answers();
      if (answers.size() != callers) giveUp("a caller was not answered");
      for (const auto& answer : answers) last = std::max(last, answer.time);
      if (probe->firstStore.count() > 0) stored = std::min(stored, probe->firstStore);
    }
    delays.push_back(Milliseconds(last - stored).count());
  }
  std::printf("16 processes with %d callers each, %d times: %zu requests\n", callers, rounds,
              group.backend->journal().count(tokenPath));
  print("  from the store's write to the last caller's answer", std::move(delays));
}

void measureSuccession(int rounds) {
  const Group group;
  std::vector<double> delays;
  const auto waiter = group.start("waiter");
  group.arrive(*waiter);
  for (int round = 0; round < rounds; ++round) {
    group.signInExpired();
    const auto holder = group.start("holder");
    group.arrive(*holder);
    group.backend->addFault("POST " + tokenPath,
                            {.effect = lx::Fault::Status{.status = 503}, .delay = std::chrono::hours(1)});
    const auto before = group.backend->journal().count(tokenPath);
    holder->process.writeLine("get 1");
    group.awaitRequests(before + 1);
    waiter->process.writeLine("get 1");
    // A while of its wait passes before, another one each time.
    waiter->process.hasOutput(std::chrono::milliseconds(20 + 37 * round % 250));
    const auto killed = lx::Clock::system()->steadyNow();
    holder->process.kill();
    group.awaitRequests(before + 2);
    delays.push_back(Milliseconds(lx::Clock::system()->steadyNow() - killed).count());
    if (!waiter->answer().error.empty()) giveUp("the waiter failed");
  }
  print("From the holder's death to its successor's request", std::move(delays));
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 30;
  std::signal(SIGPIPE, SIG_IGN);
  measureSharedRefresh(rounds);
  measureSuccession(rounds);
}
