#pragma once

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/SilentAuthorizationManagerOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshNotificationsManager.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"
#include "LXTesting/InMemoryCredentialsStorage.h"
#include "LXTesting/ManualClock.h"
#include "LXTesting/ScriptedURLSession.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Foundation/FileURL.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/NetworkServiceError.h"
#include "LXUtils/System/FileLock.h"

#include "TemporaryFolder.h"

namespace lx {

/// What happened, in its order, as short texts. Whoever waits on the main queue looks again at each entry.
class EventLog final : public LogSink {
 public:
  void add(std::string event) {
    events_.withLock([&](auto& events) { events.push_back(std::move(event)); });
    MainQueue::shared()->wake();
  }
  void write(const LogRecord& record) override {
    add("log" + std::to_string(record.level) + " " + std::string(record.message));
  }
  std::vector<std::string> all() const {
    return events_.withLock([](const auto& events) { return events; });
  }
  std::size_t count(std::string_view event) const {
    const auto events = all();
    return static_cast<std::size_t>(std::count(events.begin(), events.end(), event));
  }

 private:
  Protected<std::vector<std::string>> events_;
};

/// Virtual time, whose new timers are seen by whoever waits on the main queue.
class WakingClock final : public Clock {
 public:
  Date now() const override { return manual.now(); }
  SteadyTime steadyNow() const override { return manual.steadyNow(); }
  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    auto timer = manual.after(delay, std::move(queue), std::move(work));
    MainQueue::shared()->wake();
    return timer;
  }

  ManualClock manual;
};

/// The token endpoint, answered by the test.
class FakeTokenRefresh final : public TokenRefreshServiceOAuth2 {
 public:
  explicit FakeTokenRefresh(EventLog& events) : events_(events) {}

  Task<OAuth2Credentials> refresh(const OAuth2Credentials& credentials) override {
    Promise<OAuth2Credentials> promise;
    auto task = promise.task();
    promise.onCancel([this] { events_.add("request cancelled"); });
    requests.withLock([&](auto& pending) { pending.push_back(std::move(promise)); });
    events_.add("request " + credentials.refreshToken);
    return task;
  }
  Task<void> revoke(const OAuth2Credentials& credentials) override {
    events_.add("revoke " + credentials.refreshToken);
    return Task<void>::success();
  }
  void answer(std::size_t position, Result<OAuth2Credentials> result) {
    auto promise = requests.withLock([&](auto& pending) { return std::move(pending.at(position)); });
    promise.complete(std::move(result));
  }

  Protected<std::vector<Promise<OAuth2Credentials>>> requests;

 private:
  EventLog& events_;
};

/// The cookie-era exchange, answered by the test.
class FakeSilentAuthorization final : public SilentAuthorizationManagerOAuth2 {
 public:
  explicit FakeSilentAuthorization(EventLog& events) : events_(events) {}
  Task<OAuth2AuthDTO> exchange(const UserAuthData& lxauth) override {
    auto task = promise.task();
    events_.add("exchange " + lxauth.authToken);
    return task;
  }
  Promise<OAuth2AuthDTO> promise;

 private:
  EventLog& events_;
};

class RecordingDelegate final : public OAuth2CredentialsServiceDelegate {
 public:
  explicit RecordingDelegate(EventLog& events) : events_(events) {}
  void oauth2CredentialsServiceDidRequestLogout() override {
    events_.add("logout");
    if (onLogout) onLogout();
  }
  std::function<void()> onLogout;

 private:
  EventLog& events_;
};

/// Counts the callers whose completion still exists, called or not.
class Callers {
 public:
  std::shared_ptr<void> add() {
    ++*count_;
    return {nullptr, [count = count_](void*) {
              --*count;
              MainQueue::shared()->wake();
            }};
  }
  void waitForAll() const {
    MainQueue::shared()->runUntil([this] { return *count_ == 0; }, std::chrono::seconds(20));
  }

 private:
  const std::shared_ptr<std::atomic<int>> count_ = std::make_shared<std::atomic<int>>(0);
};

/// One process of an app group: the credentials service on a real lock file and real notifications, in virtual time.
/// Several on one folder are several processes, as far as the service can tell.
struct CredentialsStack {
  explicit CredentialsStack(std::string folder, std::shared_ptr<InMemoryCredentialsStorage> sharedStore = nullptr)
      : group(std::move(folder)), store(sharedStore ? sharedStore : std::make_shared<InMemoryCredentialsStorage>()) {
    service =
        OAuth2CredentialsServiceImpl::make(store, refresh, *fileURL(group + "/refresh.lock"), executor, {}, clock);
    service->setDelegate(delegate);
    // For `posts`: whoever waits on the main queue looks again at each notification.
    for (const auto* name :
         {TokenRefreshNotificationsManagerImpl::successName, TokenRefreshNotificationsManagerImpl::failureName}) {
      center->addObserver(name, MainQueue::shared(), [] {});
    }
  }

  // The service answers on its own queue: nothing that it calls goes before it has.
  ~CredentialsStack() {
    service.reset();
    callers.waitForAll();
  }
  CredentialsStack(const CredentialsStack&) = delete;
  CredentialsStack& operator=(const CredentialsStack&) = delete;

  OAuth2Credentials tokens(const std::string& name, std::chrono::seconds lifetime = std::chrono::hours(1)) const {
    return {"access-" + name, "refresh-" + name, clock->now() + lifetime};
  }
  void keep(const OAuth2Credentials& credentials) {
    auto records = store->records();
    records.credentials = credentials;
    store->setRecords(std::move(records));
  }
  void keepExpiring() { keep(tokens("old", std::chrono::seconds(30))); }
  void keepLegacySignIn(bool isAnonymous = false) {
    auto records = store->records();
    records.user = UserModel::example();
    records.user->isAnonymous = isAnonymous;
    records.legacyAuthData = UserAuthData{.authToken = "lxauth", .csrfToken = {}, .policyToken = {}};
    store->setRecords(std::move(records));
  }

  void get(const std::string& name) {
    service->getOAuth2Credentials([this, name, caller = callers.add()](Result<OAuth2Credentials> result) {
      events.add("get " + name + " " + (result ? result->accessToken : result.error().typeName()));
    });
  }
  void forceRefresh(const std::string& name) {
    service->refreshOAuth2Credentials([this, name, caller = callers.add()](Result<void> result) {
      events.add("refresh " + name + " " + (result ? std::string("done") : result.error().typeName()));
    });
  }

  /// Pumps until the event has happened `count` times.
  bool happens(const std::string& event, std::size_t count = 1) {
    return MainQueue::shared()->runUntil([&] { return events.count(event) >= count; }, std::chrono::seconds(20));
  }
  bool answers(std::size_t position, Result<OAuth2Credentials> result) {
    const bool isThere = MainQueue::shared()->runUntil(
        [&] { return refresh->requests.withLock([&](auto& pending) { return pending.size() > position; }); },
        std::chrono::seconds(20));
    if (isThere) refresh->answer(position, std::move(result));
    return isThere;
  }
  /// Pumps until so many timers are pending.
  bool waits(std::size_t timers = 1) const {
    return MainQueue::shared()->runUntil([&] { return clock->manual.pendingTimers() >= timers; },
                                         std::chrono::seconds(20));
  }
  /// Pumps until so many notifications of the kind were posted to the group.
  bool posts(const char* kind, std::size_t count) const {
    return MainQueue::shared()->runUntil([&] { return posted(kind) >= count; }, std::chrono::seconds(20));
  }
  std::size_t posted(const char* kind) const {
    std::error_code none;
    const auto size =
        std::filesystem::file_size(group + "/notifications/com.lexiconia.keyboard.credentialsRefresh" + kind, none);
    return none ? 0 : size;
  }

  static Error serverError(int status, const std::string& message) {
    auto info = std::make_shared<TokenRefreshErrorInfo>();
    info->message = message;
    return NetworkServiceError{NetworkServiceError::ServerError{makeResponse(status), info}};
  }
  static Error invalidRefreshToken() { return serverError(401, "Invalid refresh token"); }

  const std::string group;
  Callers callers;
  EventLog events;
  std::shared_ptr<DarwinNotificationCenter> center = DarwinNotificationCenter::forFolder(group + "/notifications");
  std::shared_ptr<WakingClock> clock = std::make_shared<WakingClock>();
  std::shared_ptr<InMemoryCredentialsStorage> store;
  std::shared_ptr<FakeTokenRefresh> refresh = std::make_shared<FakeTokenRefresh>(events);
  std::shared_ptr<BackgroundExecutorExtension> executor = std::make_shared<BackgroundExecutorExtension>();
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(events);
  std::shared_ptr<OAuth2CredentialsServiceImpl> service;
};

}  // namespace lx
