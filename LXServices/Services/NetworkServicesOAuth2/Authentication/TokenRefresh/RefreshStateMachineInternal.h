#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/SilentAuthorizationManagerOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/KeptPairStorageInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshBackgroundTaskInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshLockInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshVerdictInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshNotificationsManager.h"
#include "LXUtils/Concurrency/ForkInternal.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx {

/// The state machine behind OAuth2CredentialsServiceImpl.
///
/// | from                                     | event                                                   | to                                       |
/// |------------------------------------------|---------------------------------------------------------|------------------------------------------|
/// | `idle`                                   | credentials need a refresh, or one is asked for         | `refreshingToken`                        |
/// | `refreshingToken`                        | another process holds the lock                          | `waitingForTokenRefreshByAnotherProcess` |
/// | `refreshingToken`                        | the refresh ended, or the store has moved on            | `idle`                                   |
/// | `refreshingToken`                        | the store has moved on to credentials that expire, once | `refreshingToken`                        |
/// | `refreshingToken`                        | the refresh token is invalid, there is a fallback       | `exchangingFallbackCredentials`          |
/// | `exchangingFallbackCredentials`          | the exchange ended, or the store has moved on           | `idle`                                   |
/// | `exchangingFallbackCredentials`          | the store has moved on to credentials that expire, once | `refreshingToken`                        |
/// | `waitingForTokenRefreshByAnotherProcess` | a notification, the store has moved on, time-out        | `idle`                                   |
/// | `waitingForTokenRefreshByAnotherProcess` | the lock is free, and the store has not moved on        | `refreshingToken`                        |
/// | any but `idle`                           | `revokeCredentials`                                     | `idle`                                   |
///
/// **Every caller is answered once.** All state is in one record under one lock. No callback runs under this lock: a
/// transition collects its effects, which run after the lock is released. A caller is either answered by the
/// transition that looked at it, or queued by the transition that saw a refresh under way. `finish` is the only way
/// back to `idle`; it takes all queued callers and delivers them on the work queue. Each refresh has an epoch. Every
/// step, answer, poll, notification and cancel carries the epoch of its refresh and does nothing once that has ended.
///
/// **Nobody waits for a dead process.** A waiter tries to take the lock every 250 ms. Once it has the lock, the store
/// tells whether the former holder had finished. A holder that keeps the lock beyond the bound makes the waiters of
/// this process fail.
///
/// **A refresh token is not spent twice.** The lock file notes digests of exchanged credentials. A process that takes
/// the lock with noted credentials looks at the store before it sends. `RefreshVerdict` is the table of what the store
/// means at each moment. An answer is stored only if the store still holds what it was obtained for; the store checks
/// this under its own lock.
///
/// **Nothing is queued that nobody runs.** A refresh starts only if the work queue's threads run. In a forked child,
/// where they do not, every call fails before it takes a lock, which another thread of the parent may have held.
class RefreshStateMachine final : public OAuth2CredentialsServiceImpl,
                                  public std::enable_shared_from_this<RefreshStateMachine> {
 public:
  /// `refreshLock` is null if the lock file could not be opened.
  RefreshStateMachine(std::shared_ptr<AuthCredentialsStorage> credStorage,
                      std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
                      std::shared_ptr<TokenRefreshNotificationsManager> notificationsManager,
                      std::unique_ptr<RefreshLock> refreshLock, std::shared_ptr<BackgroundExecutor> backgroundExecutor,
                      Waiting waiting, std::shared_ptr<Clock> clock);

  bool hasCredentials() override;
  void getOAuth2Credentials(Completion<OAuth2Credentials> completion) override;
  void refreshOAuth2Credentials(Completion<void> completion) override;
  void refreshRejectedOAuth2Credentials(std::string_view accessToken, Completion<void> completion) override;
  std::shared_ptr<OAuth2CredentialsServiceDelegate> delegate() const override;
  void setDelegate(std::weak_ptr<OAuth2CredentialsServiceDelegate> delegate) override;
  Task<void> revokeCredentials() override;
  void setSilentAuthorizationManager(std::shared_ptr<SilentAuthorizationManagerOAuth2> manager) override;

 private:
  enum class State { idle, refreshingToken, waitingForTokenRefreshByAnotherProcess, exchangingFallbackCredentials };
  using Epoch = std::uint64_t;

  // What belongs to one refresh, from its start until the service is idle again.
  struct Refresh {
    Epoch epoch = 0;
    OAuth2Credentials credentials;
    bool followedStore = false;  // credentials that another process left are refreshed at most once
    bool ownsLock = false;
    std::unique_ptr<CredentialsReplacement> replacement;
    std::optional<Task<OAuth2Credentials>> refreshTask;
    std::shared_ptr<RefreshBackgroundTask> backgroundTask;
    bool isPollArmed = false;
    std::optional<Error> decidedFailure;  // set while the delegate is asked to log out, before the callers are answered
    Clock::SteadyTime waitingSince;
  };

  // The callers that wait for one refresh.
  struct Pending {
    std::vector<Completion<OAuth2Credentials>> getCredentialsCompletions;
    std::vector<Completion<void>> refreshCompletions;
  };

  struct MutableState {
    State state = State::idle;
    Pending pending;
    Refresh refresh;
    KeptPairStorage storage;
  };

  enum class Notification { none, success, failure };

  // The store as it was looked at, and what follows.
  struct Look {
    StoredCredentials stored;
    RefreshVerdict verdict;
  };

  // What a transition causes, done in this order after the lock is released.
  class Effects {
   public:
    void add(std::move_only_function<void()> effect) { effects_.push_back(std::move(effect)); }
    void run() {
      for (auto& effect : effects_) effect();
    }

   private:
    std::vector<std::move_only_function<void()>> effects_;
  };

  template <class F>
  void transact(F&& transition);
  template <class F>
  bool transact(Epoch epoch, F&& transition);
  template <class F>
  void schedule(Epoch epoch, F step);

  void log(Effects& effects, LogLevel level, const char* message, LogSite site);
  void log(Effects& effects, LogLevel level, const char* message, const Error& error, LogSite site);

  void refresh(std::string_view rejectedAccessToken, Completion<void> completion, LogSite site);
  template <class T>
  std::optional<OAuth2Credentials> loadForCaller(MutableState& state, Effects& effects, Completion<T>& completion,
                                                 LogSite site);
  template <class T>
  void start(MutableState& state, Effects& effects, const OAuth2Credentials& credentials,
             std::vector<Completion<T>>& waiting, Completion<T> completion);

  void refreshStep(MutableState& state, Effects& effects);
  void send(MutableState& state, Effects& effects);
  void sendOutsideLock(Epoch epoch, const OAuth2Credentials& credentials, const OAuth2Credentials& underlying,
                       const std::shared_ptr<RefreshBackgroundTask>& backgroundTask);
  void handleRefreshResult(Epoch epoch, const Result<OAuth2Credentials>& result);
  void handleAnswer(MutableState& state, Effects& effects, const OAuth2Credentials& credentials);
  void handleRefreshFailure(MutableState& state, Effects& effects, const Error& error);
  void requestLogout();

  void recover(MutableState& state, Effects& effects, std::shared_ptr<SilentAuthorizationManagerOAuth2> manager,
               const UserAuthData& lxauth, const Error& refreshError);
  void handleExchangeSuccess(Epoch epoch, const OAuth2Credentials& credentials);
  void handleExchangeFailure(Epoch epoch, const Error& exchangeError, const Error& refreshError);

  void wait(MutableState& state, Effects& effects);
  void stopWaiting(MutableState& state, Effects& effects);
  void poll(MutableState& state, Effects& effects);
  void pollAfter(Clock::Duration delay, Epoch epoch);
  void handleNotification(MutableState& state, Effects& effects, const Result<void>& outcome);

  Look lookAtStore(MutableState& state, RefreshMoment moment);
  bool follow(MutableState& state, Effects& effects, const Look& look);
  bool followStore(MutableState& state, Effects& effects, RefreshMoment moment);

  bool takeLock(MutableState& state, Effects& effects);
  void releaseLock(Refresh& refresh, Effects& effects);
  void finish(MutableState& state, Effects& effects, Result<OAuth2Credentials> result, Notification notification);

  const std::shared_ptr<AuthCredentialsStorage> credStorage_;
  const Logger logger_ = Logger::oauth2;
  const std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService_;
  const std::shared_ptr<TokenRefreshNotificationsManager> tokenRefreshNotificationsManager_;
  Protected<std::shared_ptr<SilentAuthorizationManagerOAuth2>> silentAuthorizationManager_;
  const std::unique_ptr<RefreshLock> refreshLock_;
  const std::shared_ptr<BackgroundExecutor> backgroundExecutor_;
  Protected<std::weak_ptr<OAuth2CredentialsServiceDelegate>> delegate_;
  const QueueRef workQueue_ =
      DispatchQueue::makeSerial("com.lexiconia.oauth2credentialsservice.workQueue", QualityOfService::userInitiated);
  Protected<MutableState> mutableState_;
  const ForkMark forkMark_;
  const Waiting waiting_;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace lx
