#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/SilentAuthorizationManagerOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsService.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshNotificationsManager.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshServiceOAuth2.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/BackgroundExecutor.h"
#include "LXUtils/System/FileLock.h"

namespace lx {

/// Lets one refresh run at a time: in the process by a state machine, in the app group by a file lock and two
/// notifications.
///
/// | from                                     | event                                             | to                                       |
/// |------------------------------------------|---------------------------------------------------|------------------------------------------|
/// | `idle`                                   | credentials need a refresh, or one is asked for   | `refreshingToken`                        |
/// | `refreshingToken`                        | another process holds the lock                    | `waitingForTokenRefreshByAnotherProcess` |
/// | `refreshingToken`                        | the refresh ended, or the store has moved on      | `idle`                                   |
/// | `refreshingToken`                        | the refresh token is invalid, there is a fallback | `exchangingFallbackCredentials`          |
/// | `exchangingFallbackCredentials`          | the exchange ended                                | `idle`                                   |
/// | `waitingForTokenRefreshByAnotherProcess` | a notification, the store has moved on, time-out  | `idle`                                   |
/// | `waitingForTokenRefreshByAnotherProcess` | the lock is free and nothing has changed          | `refreshingToken`                        |
/// | any but `idle`                           | `revokeCredentials`                               | `idle`                                   |
///
/// Why every caller is answered, once. All state is in one record under one lock, which no callback runs under: what
/// a transition causes is collected and done after the lock is released. A caller is either answered in the section
/// that looked at it, or queued in the section that saw a refresh under way; each way back to `idle` takes both queues
/// in the section that sets `idle`, and delivers them on the work queue. Each refresh has an epoch. Every step, answer,
/// poll, notification and expiry carries the epoch that it belongs to and does nothing once that is over, so that a
/// late answer can neither store credentials after a revocation nor touch the refresh that came next.
///
/// Why nobody waits for a dead process. A waiter looks every 250 ms whether the lock has become free without a
/// notification. Then the store tells whether the holder had finished: other credentials there are the result, the same
/// ones are refreshed here. A holder that keeps the lock beyond the bound makes the waiters of this process fail.
///
/// Why a refresh token is not spent twice. The lock file keeps a digest of the credentials last exchanged. Who gets the
/// lock with those takes the result from the store. And before an answer is stored, or a refresh token counts as
/// invalid, the store is looked at again: if it has moved on, it is right.
class OAuth2CredentialsServiceImpl final : public OAuth2CredentialsService,
                                           public std::enable_shared_from_this<OAuth2CredentialsServiceImpl> {
 public:
  enum class State { idle, refreshingToken, waitingForTokenRefreshByAnotherProcess, exchangingFallbackCredentials };

  /// How a process waits for another's refresh.
  struct Waiting {
    std::chrono::milliseconds pollInterval{250};
    std::chrono::milliseconds bound{60'000};
  };

  /// `lockFileURL` is a file in the app group's container, the same for every process of the group; the group's
  /// notifications are kept in a folder beside it. A lock file that cannot be opened costs the serialisation across
  /// processes and is logged.
  static std::shared_ptr<OAuth2CredentialsServiceImpl> make(
      std::shared_ptr<AuthCredentialsStorage> credStorage,
      std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService, const URL& lockFileURL,
      std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
      std::shared_ptr<Clock> clock = Clock::system());

  static std::shared_ptr<OAuth2CredentialsServiceImpl> make(
      std::shared_ptr<AuthCredentialsStorage> credStorage,
      std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService, const URL& lockFileURL,
      std::shared_ptr<BackgroundExecutor> backgroundExecutor) {
    return make(std::move(credStorage), std::move(tokenRefreshService), lockFileURL, std::move(backgroundExecutor),
                Waiting{});
  }

  /// Lets go of the file lock and ends the background task. The answer of a refresh that is under way is lost, though
  /// the backend may have exchanged the refresh token: keep the service for the lifetime of the process.
  ~OAuth2CredentialsServiceImpl() override;

  bool hasCredentials() override;
  void getOAuth2Credentials(Completion<OAuth2Credentials> completion) override;
  void refreshOAuth2Credentials(Completion<void> completion) override;
  std::shared_ptr<OAuth2CredentialsServiceDelegate> delegate() const override;
  void setDelegate(std::weak_ptr<OAuth2CredentialsServiceDelegate> delegate) override;
  Task<void> revokeCredentials() override;
  void setSilentAuthorizationManager(std::shared_ptr<SilentAuthorizationManagerOAuth2> manager) override;

 private:
  using Epoch = std::uint64_t;

  // What belongs to one refresh, from its start until the service is idle again.
  struct Refresh {
    Epoch epoch = 0;
    OAuth2Credentials credentials;
    bool followedStore = false;  // credentials that another process left are refreshed at most once
    bool ownsFileLock = false;
    std::optional<Task<OAuth2Credentials>> refreshTask;
    std::optional<BackgroundExecutor::Identifier> backgroundTaskIdentifier;
    bool hasBackgroundTaskExpired = false;  // before its identifier was known
    bool isPollArmed = false;
    std::optional<Error> decidedFailure;  // set while the delegate is asked to log out, before the callers are told
    Clock::SteadyTime waitingSince;
  };

  // The callers that wait for one refresh.
  struct Pending {
    std::vector<Completion<OAuth2Credentials>> getCredentialsCompletions;
    std::vector<Completion<void>> refreshCompletions;
  };

  // A refreshed pair that the store did not take, and the credentials that it replaces there.
  struct Unsaved {
    OAuth2Credentials credentials;
    OAuth2Credentials replaced;
    Clock::SteadyTime nextAttempt;  // each costs the callers the time of a write to the disk
  };

  struct MutableState {
    State state = State::idle;
    Pending pending;
    Refresh refresh;
    std::optional<Unsaved> unsaved;
  };

  enum class Notification { none, success, failure };

  // What a store that cannot be read means for a refresh that looks at it.
  enum class Unreadable { countsAsUnchanged, endsTheRefresh };

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

  OAuth2CredentialsServiceImpl(std::shared_ptr<AuthCredentialsStorage> credStorage,
                               std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
                               std::shared_ptr<TokenRefreshNotificationsManager> notificationsManager,
                               std::unique_ptr<FileLock> fileLock,
                               std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
                               std::shared_ptr<Clock> clock);

  template <class F>
  void transact(F&& transition);
  template <class F>
  void transact(Epoch epoch, F&& transition);
  template <class F>
  void schedule(Epoch epoch, F step);

  void log(Effects& effects, LogLevel level, const char* message, LogSite site);
  void log(Effects& effects, LogLevel level, const char* message, const Error& error, LogSite site);

  Result<std::optional<OAuth2Credentials>> loadCredentials(MutableState& state);
  template <class T>
  std::optional<OAuth2Credentials> loadForCaller(MutableState& state, Effects& effects, Completion<T>& completion,
                                                 LogSite site);
  void start(MutableState& state, const OAuth2Credentials& credentials);

  void refreshStep(MutableState& state, Effects& effects);
  void send(MutableState& state, Effects& effects);
  void sendOutsideLock(Epoch epoch, const OAuth2Credentials& credentials);
  void handleRefreshResult(Epoch epoch, const Result<OAuth2Credentials>& result);
  void handleRefreshFailure(MutableState& state, Effects& effects, const Error& error);
  void requestLogout();

  void recover(MutableState& state, Effects& effects, std::shared_ptr<SilentAuthorizationManagerOAuth2> manager,
               const UserAuthData& lxauth, const Error& refreshError);
  void handleExchangeSuccess(Epoch epoch, const OAuth2Credentials& credentials);
  void handleExchangeFailure(Epoch epoch, const Error& exchangeError, const Error& refreshError);

  void wait(MutableState& state, Effects& effects);
  void poll(MutableState& state, Effects& effects);
  void pollAfter(Clock::Duration delay, Epoch epoch);
  void handleNotification(Epoch epoch, const Result<void>& outcome);

  bool followStore(MutableState& state, Effects& effects, Unreadable unreadable);
  bool followStoreIfMovedOn(MutableState& state, Effects& effects);
  bool follow(MutableState& state, Effects& effects, const OAuth2Credentials& stored);
  bool takeValidFromStore(MutableState& state, Effects& effects);
  void failWithoutCredentials(MutableState& state, Effects& effects,
                              const Result<std::optional<OAuth2Credentials>>& stored);

  void storeAndFinish(MutableState& state, Effects& effects, const OAuth2Credentials& credentials);
  void finish(MutableState& state, Effects& effects, Result<OAuth2Credentials> result, Notification notification);
  void deliver(Pending pending, Result<OAuth2Credentials> result, Notification notification);
  void releaseFileLock(Refresh& refresh, Effects& effects);
  void endBackgroundTask(std::optional<BackgroundExecutor::Identifier> identifier);
  void handleBackgroundTaskExpiry(Epoch epoch);
  void cancelOngoingRefresh(const Refresh& refresh);

  const std::shared_ptr<AuthCredentialsStorage> credStorage_;
  const Logger logger_ = Logger::oauth2;
  const std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService_;
  const std::shared_ptr<TokenRefreshNotificationsManager> tokenRefreshNotificationsManager_;
  Protected<std::shared_ptr<SilentAuthorizationManagerOAuth2>> silentAuthorizationManager_;
  const std::unique_ptr<FileLock> fileLock_;  // empty when the lock file could not be opened
  const std::shared_ptr<BackgroundExecutor> backgroundExecutor_;
  Protected<std::weak_ptr<OAuth2CredentialsServiceDelegate>> delegate_;
  const QueueRef workQueue_ =
      DispatchQueue::makeSerial("com.lexiconia.oauth2credentialsservice.workQueue", QualityOfService::userInitiated);
  Protected<MutableState> mutableState_;
  const Waiting waiting_;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace lx
