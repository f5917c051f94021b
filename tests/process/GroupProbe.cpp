// One process of an app group, with the whole stack of an app.
//   group_probe FOLDER ADDRESS CA_FILE CONTAINER [poll=MS] [bound=MS] [die=beforeStore|afterStore|inAnswer] [hold=sync]
//   [syncs=N]
// builds the stack, prints "ready" and obeys the lines of its input until that ends:
//   get N      N callers ask for credentials at once. When all are answered, prints one line for each in the order of
//              the answers, "ok ACCESS_TOKEN REFRESH_TOKEN NANOSECONDS" or "error TYPE NANOSECONDS", and then "done
//              NANOSECONDS", the time of the process's first store of credentials since the last such line (0 if it
//              stored none)
//   refresh N  the same for callers that force a refresh; the tokens are those of the store at that moment
//   insist     one caller that asks again at once after each error; prints "failures N" and then as for get
//   go         ends the hold, see below
//   signin A R stores a sign-in of another user with the access token A and the refresh token R, and prints "signed in"
//   user       prints "user ID" or "error TYPE"
//   limit N    lets the process open N descriptors, no more
//   fork       does "user" in a forked child, and prints "left STATUS" when that has ended
//   logouts    prints "logouts N", how often the app was asked to log out
// Times are those of the system's steady clock, which all processes share. With hold=sync, the process prints
// "syncing" when it has written new credentials, and syncs them only after "go". With syncs=N, it dies instead of
// syncing anything once more after N times.

#include <atomic>
#include <barrier>
#include <csignal>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LXServices/Services/UserService.h"
#include "LXUtils/Concurrency/OperationQueue.h"

#include "process/ForkedChild.h"
#include "support/RealStack.h"

namespace lx {
namespace {

// Without a buffer, which a forked child would inherit and write once more.
void say(const std::string& text) {
  const std::string line = text + "\n";
  [[maybe_unused]] const auto written = write(STDOUT_FILENO, line.data(), line.size());
}

std::int64_t nanoseconds() { return Clock::system()->steadyNow().time_since_epoch().count(); }

[[noreturn]] void die() {
  while (true) kill(getpid(), SIGKILL);
}

// Where a process that holds its syncs waits for "go".
std::atomic<bool> isHolding{false};
std::atomic<int> syncsLeft{std::numeric_limits<int>::max()};

// The group's store, which notes when it was written to and ends the process when it is told to.
class ProbeStorage final : public AuthCredentialsStorage {
 public:
  ProbeStorage(std::shared_ptr<FileCredentialsStorage> storage, std::string death)
      : storage_(std::move(storage)), death_(std::move(death)) {}

  Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) override {
    return storage_->storeOAuth2Credentials(credentials);
  }
  Result<ReplaceOutcome> replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                  const OAuth2Credentials& credentials) override {
    return storage_->replaceOAuth2Credentials(replaced, credentials);
  }
  Result<PreparedReplacement> prepareReplacement(const OAuth2Credentials& replaced) override {
    auto prepared = storage_->prepareReplacement(replaced);
    if (prepared && prepared->replacement) {
      prepared->replacement = std::make_unique<Replacement>(*this, std::move(prepared->replacement));
    }
    return prepared;
  }
  Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() override {
    return storage_->loadOAuth2Credentials();
  }
  Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& data) override {
    return storage_->storeLegacyAuthData(data);
  }
  Result<std::optional<UserAuthData>> loadLegacyAuthData() override { return storage_->loadLegacyAuthData(); }
  Result<void> storeDeviceAuthData(const DeviceAuthData& data) override { return storage_->storeDeviceAuthData(data); }
  Result<DeviceAuthData> loadDeviceAuthData() override { return storage_->loadDeviceAuthData(); }
  Result<std::optional<UserModel>> currentUser() override { return storage_->currentUser(); }
  std::optional<std::string> trustedDeviceID() const override { return storage_->trustedDeviceID(); }

  FileCredentialsStorage& files() { return *storage_; }

  std::atomic<std::int64_t> firstStore{0};

 private:
  class Replacement final : public CredentialsReplacement {
   public:
    Replacement(ProbeStorage& storage, std::unique_ptr<CredentialsReplacement> replacement)
        : storage_(storage), replacement_(std::move(replacement)) {}

    Result<ReplaceOutcome> store(const OAuth2Credentials& credentials) override {
      if (storage_.death_ == "beforeStore") die();
      auto outcome = replacement_->store(credentials);
      if (storage_.death_ == "afterStore") die();
      std::int64_t none = 0;
      storage_.firstStore.compare_exchange_strong(none, nanoseconds());
      return outcome;
    }

   private:
    ProbeStorage& storage_;
    const std::unique_ptr<CredentialsReplacement> replacement_;
  };

  const std::shared_ptr<FileCredentialsStorage> storage_;
  const std::string death_;
};

struct LogoutCounter final : OAuth2CredentialsServiceDelegate {
  void oauth2CredentialsServiceDidRequestLogout() override { ++count; }
  std::atomic<int> count{0};
};

std::string lineOf(const Result<OAuth2Credentials>& result) {
  const auto time = std::to_string(nanoseconds());
  return result ? "ok " + result->accessToken + " " + result->refreshToken + " " + time
                : "error " + result.error().typeName() + " " + time;
}

class Probe {
 public:
  Probe(RealStackOptions options, std::string death)
      : store_(std::make_shared<ProbeStorage>(*FileCredentialsStorage::make(options.folder), death)),
        diesInAnswer_(death == "inAnswer"),
        stack_((options.storage = store_, std::move(options))) {
    stack_.builder.oauth2CredentialsService()->setDelegate(logouts_);
  }

  void obey(std::istream& words) {
    std::string command;
    int count = 1;
    words >> command;
    if (command == "get" || command == "refresh" || command == "limit") words >> count;
    if (command == "get") {
      gather(count, [this](Completion<OAuth2Credentials> completion) {
        stack_.builder.oauth2CredentialsService()->getOAuth2Credentials(std::move(completion));
      });
    } else if (command == "refresh") {
      gather(count, [this](Completion<OAuth2Credentials> completion) {
        stack_.builder.oauth2CredentialsService()->refreshOAuth2Credentials([this, completion = std::move(completion)](
                                                                                Result<void> result) mutable {
          if (!result) return completion(fail(result.error()));
          const auto stored = store_->loadOAuth2Credentials();
          completion(stored && *stored ? Result<OAuth2Credentials>(**stored) : fail(UnwrapError{"nothing is stored"}));
        });
      });
    } else if (command == "insist") {
      insist(0);
    } else if (command == "signin") {
      std::string access;
      std::string refresh;
      words >> access >> refresh;
      const OAuth2Credentials credentials{access, refresh, Clock::system()->now() + std::chrono::hours(1)};
      const auto stored = store_->files().storeSignIn({credentials, {"new-device"}});
      say(stored ? "signed in" : "error " + stored.error().typeName());
    } else if (command == "go") {
      isHolding = false;
      isHolding.notify_all();
    } else if (command == "user") {
      user_.fetchUser().finally([](const Result<UserServiceFetchUserResponse>& result) {
        say(result ? "user " + result->user.id : "error " + result.error().typeName());
      });
    } else if (command == "limit") {
      const auto number = static_cast<rlim_t>(count);
      const rlimit descriptors{.rlim_cur = number, .rlim_max = 1024};
      setrlimit(RLIMIT_NOFILE, &descriptors);
    } else if (command == "fork") {
      const pid_t child = forkProbe();
      if (child == 0) {
        const auto answer = MainQueue::shared()->runUntil(user_.fetchUser());
        say(answer ? "user " + answer->user.id : "error " + answer.error().typeName());
        std::exit(0);
      }
      int status = -1;
      waitpid(child, &status, 0);
      say("left " + std::to_string(status));
    } else if (command == "logouts") {
      // On the main queue, where the delegate is called after a failed refresh.
      MainQueue::shared()->async([this] { say("logouts " + std::to_string(logouts_->count)); });
    }
  }

 private:
  void insist(int failures) {
    stack_.builder.oauth2CredentialsService()->getOAuth2Credentials([this, failures](Result<OAuth2Credentials> result) {
      if (!result) return insist(failures + 1);
      say("failures " + std::to_string(failures) + "\n" + lineOf(result) + "\ndone 0");
    });
  }

  // Calls `ask` so often from a few threads at once.
  template <class Ask>
  void gather(int count, const Ask& ask) {
    struct Answers {
      std::size_t expected = 0;
      Protected<std::vector<std::string>> lines;
    };
    const auto answers = std::make_shared<Answers>();
    answers->expected = static_cast<std::size_t>(count);
    store_->firstStore = 0;
    const int threadCount = std::min(count, 8);
    std::barrier start(threadCount);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&, thread] {
        start.arrive_and_wait();
        for (int i = thread; i < count; i += threadCount) {
          ask([this, answers](Result<OAuth2Credentials> result) {
            if (diesInAnswer_) die();
            auto line = lineOf(result);
            const auto all = answers->lines.withLock([&](auto& lines) {
              lines.push_back(std::move(line));
              return lines.size() == answers->expected ? lines : std::vector<std::string>();
            });
            if (all.empty()) return;
            std::string text;
            for (const auto& one : all) text += one + "\n";
            say(text + "done " + std::to_string(store_->firstStore));
          });
        }
      });
    }
  }

  const std::shared_ptr<ProbeStorage> store_;
  const bool diesInAnswer_;
  const std::shared_ptr<LogoutCounter> logouts_ = std::make_shared<LogoutCounter>();
  RealStack stack_;
  UserServiceOAuth2Impl user_{stack_.builder.oauth2NetworkService(), stack_.environment};
};

int run(const std::vector<std::string>& arguments) {
  if (arguments.size() < 5) return 2;
  RealStackOptions options{
      .folder = arguments[1], .address = arguments[2], .caFile = arguments[3], .containerID = arguments[4]};
  std::map<std::string, std::string> settings;
  for (std::size_t i = 5; i < arguments.size(); ++i) {
    const auto equal = arguments[i].find('=');
    if (equal == std::string::npos) return 2;
    settings[arguments[i].substr(0, equal)] = arguments[i].substr(equal + 1);
  }
  if (settings.contains("poll")) options.waiting.pollInterval = std::chrono::milliseconds(std::stoi(settings["poll"]));
  if (settings.contains("bound")) options.waiting.bound = std::chrono::milliseconds(std::stoi(settings["bound"]));

  isHolding = settings["hold"] == "sync";
  if (settings.contains("syncs")) syncsLeft = std::stoi(settings["syncs"]);
  Probe probe(std::move(options), settings["die"]);
  std::jthread commands([&] {
    for (std::string line; std::getline(std::cin, line);) {
      std::istringstream words(line);
      probe.obey(words);
    }
    MainQueue::shared()->stop();
  });
  say("ready");
  MainQueue::shared()->run();
  return 0;
}

}  // namespace
}  // namespace lx

// In the place of the system's, so that a moment can be held that lies inside one call of the store.
extern "C" int fsync(int file) {
  if (--lx::syncsLeft < 0) lx::die();
  char start = 0;
  if (lx::isHolding && pread(file, &start, 1, 0) == 1 && start == '{') {
    lx::say("syncing");
    lx::isHolding.wait(true);
  }
  return static_cast<int>(syscall(SYS_fsync, file));
}

int main(int count, char** arguments) { return lx::run({arguments, arguments + count}); }
