#include <algorithm>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshStateMachineInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Concurrency/RuntimeError.h"
#include "LXUtils/Network/NetworkServiceError.h"

namespace lx {
namespace {

// A server error with status 401 whose TokenRefreshErrorInfo says that the refresh token is invalid.
bool isInvalidRefreshToken(const Error& error) {
  const auto* failure = error.as<NetworkServiceError>();
  const auto* serverError = failure ? failure->serverError() : nullptr;
  if (!serverError || !serverError->response.isUnauthorized()) return false;
  const auto* info = dynamic_cast<const TokenRefreshErrorInfo*>(serverError->info.get());
  return info && info->isInvalidRefreshToken();
}

Error forked() { return RuntimeError{RuntimeError::Kind::forked, {}}; }

// The cookie-era credentials of a signed-in user who is not anonymous.
Result<std::optional<UserAuthData>> loadFallback(AuthCredentialsStorage& storage) {
  const auto user = storage.currentUser();
  if (!user) return fail(user.error());
  if (!*user || (*user)->isAnonymous) return std::nullopt;
  return storage.loadLegacyAuthData();
}

}  // namespace

RefreshStateMachine::RefreshStateMachine(std::shared_ptr<AuthCredentialsStorage> credStorage,
                                         std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
                                         std::shared_ptr<TokenRefreshNotificationsManager> notificationsManager,
                                         std::unique_ptr<RefreshLock> refreshLock,
                                         std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
                                         std::shared_ptr<Clock> clock)
    : credStorage_(std::move(credStorage)),
      tokenRefreshService_(std::move(tokenRefreshService)),
      tokenRefreshNotificationsManager_(std::move(notificationsManager)),
      refreshLock_(std::move(refreshLock)),
      backgroundExecutor_(std::move(backgroundExecutor)),
      mutableState_(MutableState{State::idle, {}, {}, KeptPairStorage(credStorage_, clock)}),
      waiting_(waiting),
      clock_(std::move(clock)) {}

// --- The frame of every transition -----------------------------------------------------------------------------------

template <class F>
void RefreshStateMachine::transact(F&& transition) {
  Effects effects;
  mutableState_.withLock([&](MutableState& state) { transition(state, effects); });
  effects.run();
}

// A transition of one refresh. Returns whether it ran: it does not once that refresh has ended.
template <class F>
bool RefreshStateMachine::transact(Epoch epoch, F&& transition) {
  bool isCurrent = false;
  transact([&](MutableState& state, Effects& effects) {
    isCurrent = state.state != State::idle && state.refresh.epoch == epoch;
    if (isCurrent) transition(state, effects);
  });
  return isCurrent;
}

// Runs a step of one refresh on the work queue.
template <class F>
void RefreshStateMachine::schedule(Epoch epoch, F step) {
  workQueue_->async([weak = weak_from_this(), epoch, step] {
    const auto self = weak.lock();
    if (!self) return;
    self->transact(epoch, [&](MutableState& state, Effects& effects) { (self.get()->*step)(state, effects); });
  });
}

void RefreshStateMachine::log(Effects& effects, LogLevel level, const char* message, LogSite site) {
  effects.add([logger = logger_, level, message, site] { logger.log(level, message, site); });
}

void RefreshStateMachine::log(Effects& effects, LogLevel level, const char* message, const Error& error, LogSite site) {
  effects.add(
      [logger = logger_, level, message, error, site] { logger.log(level, message, error.description(), site); });
}

// --- What callers ask for --------------------------------------------------------------------------------------------

bool RefreshStateMachine::hasCredentials() {
  if (forkMark_.isInherited()) return true;  // as for a store that cannot be read
  const auto stored = mutableState_.withLock([](MutableState& state) { return state.storage.load(); });
  return !stored || stored->has_value();
}

void RefreshStateMachine::getOAuth2Credentials(Completion<OAuth2Credentials> completion) {
  if (forkMark_.isInherited()) return completion(fail(forked()));
  std::optional<OAuth2Credentials> valid;
  transact([&](MutableState& state, Effects& effects) {
    auto& waiting = state.pending.getCredentialsCompletions;
    if (state.state != State::idle) return waiting.push_back(std::move(completion));
    auto stored = loadForCaller(state, effects, completion, "getOAuth2Credentials(_:)");
    if (!stored) return;
    if (stored->needsRefresh(clock_->now())) {
      start(state, effects, *stored, waiting, std::move(completion));
    } else {
      valid = std::move(stored);
    }
  });
  if (valid) completion(*std::move(valid));
}

void RefreshStateMachine::refreshOAuth2Credentials(Completion<void> completion) {
  refresh({}, std::move(completion), "refreshOAuth2Credentials(_:)");
}

void RefreshStateMachine::refreshRejectedOAuth2Credentials(std::string_view accessToken, Completion<void> completion) {
  refresh(accessToken, std::move(completion), "refreshOAuth2Credentials(_:)");
}

// Without a rejected token, whatever is stored is refreshed.
void RefreshStateMachine::refresh(std::string_view rejectedAccessToken, Completion<void> completion, LogSite site) {
  if (forkMark_.isInherited()) return completion(fail(forked()));
  transact([&](MutableState& state, Effects& effects) {
    auto& waiting = state.pending.refreshCompletions;
    if (state.state != State::idle) return waiting.push_back(std::move(completion));
    const auto stored = loadForCaller(state, effects, completion, site);
    if (!stored) return;
    if (!rejectedAccessToken.empty() && stored->accessToken != rejectedAccessToken) {
      return effects.add([completion = std::move(completion)]() mutable { completion({}); });
    }
    start(state, effects, *stored, waiting, std::move(completion));
  });
}

// The stored credentials. Without them, the caller is answered with the reason.
template <class T>
std::optional<OAuth2Credentials> RefreshStateMachine::loadForCaller(MutableState& state, Effects& effects,
                                                                    Completion<T>& completion, LogSite site) {
  auto stored = state.storage.load();
  if (stored && *stored) return *std::move(stored);
  const Error error = stored ? Error(OAuth2Error::credentialsNotFound()) : stored.error();
  if (stored) {
    log(effects, 4, "Credentials not found", site);
  } else {
    log(effects, 4, "Did fail to load credentials", error, site);
  }
  effects.add([completion = std::move(completion), error]() mutable { completion(fail(error)); });
  return std::nullopt;
}

template <class T>
void RefreshStateMachine::start(MutableState& state, Effects& effects, const OAuth2Credentials& credentials,
                                std::vector<Completion<T>>& waiting, Completion<T> completion) {
  if (const auto running = workQueue_->ensureRunning(); !running) {
    return effects.add(
        [completion = std::move(completion), error = running.error()]() mutable { completion(fail(error)); });
  }
  waiting.push_back(std::move(completion));
  state.state = State::refreshingToken;
  Refresh refresh;
  refresh.epoch = state.refresh.epoch + 1;
  refresh.credentials = credentials;
  refresh.backgroundTask = std::make_shared<RefreshBackgroundTask>(backgroundExecutor_);
  state.refresh = std::move(refresh);
  schedule(state.refresh.epoch, &RefreshStateMachine::refreshStep);
}

std::shared_ptr<OAuth2CredentialsServiceDelegate> RefreshStateMachine::delegate() const {
  return delegate_.withLock([](const auto& current) { return current.lock(); });
}

void RefreshStateMachine::setDelegate(std::weak_ptr<OAuth2CredentialsServiceDelegate> delegate) {
  delegate_.withLock([&](auto& current) { current.swap(delegate); });
}

void RefreshStateMachine::setSilentAuthorizationManager(std::shared_ptr<SilentAuthorizationManagerOAuth2> manager) {
  silentAuthorizationManager_.withLock([&](auto& current) { current.swap(manager); });
}

Task<void> RefreshStateMachine::revokeCredentials() {
  if (forkMark_.isInherited()) return Task<void>::failure(forked());
  transact([&](MutableState& state, Effects& effects) {
    if (state.state == State::idle) return;
    // On the work queue before the callers are answered there, and before the next refresh takes its first step.
    workQueue_->async([logger = logger_, refreshTask = std::move(state.refresh.refreshTask),
                       backgroundTask = state.refresh.backgroundTask] {
      if (refreshTask) refreshTask->cancel();
      backgroundTask->end();
      logger.log(2, "Did cancel ongoing token refresh", "cancelOngoingRefreshIfNeeded()");
    });
    const auto error = state.refresh.decidedFailure.value_or(OAuth2Error::credentialsRefreshWasCancelled());
    finish(state, effects, fail(error), Notification::failure);
  });

  const auto stored = mutableState_.withLock([](MutableState& state) { return state.storage.load(); });
  if (stored && *stored) return tokenRefreshService_->revoke(**stored);
  if (!stored) {
    logger_.log(4, "Did fail to load credentials", stored.error().description(), "revokeCredentials()");
    return Task<void>::failure(stored.error());
  }
  logger_.log(4, "Credentials to revoke not found", "revokeCredentials()");
  return Task<void>::failure(OAuth2Error::credentialsNotFound());
}

// --- Refreshing ------------------------------------------------------------------------------------------------------

void RefreshStateMachine::refreshStep(MutableState& state, Effects& effects) {
  if (!takeLock(state, effects)) {
    log(effects, 2, "File already locked", "refreshStep(credentials:)");
    return wait(state, effects);
  }
  const bool areSpent = state.refresh.ownsLock && refreshLock_->wereExchanged(state.refresh.credentials);
  if (areSpent && followStore(state, effects, RefreshMoment::lockTaken)) return;
  send(state, effects);
}

void RefreshStateMachine::send(MutableState& state, Effects& effects) {
  stopWaiting(state, effects);
  state.state = State::refreshingToken;
  state.refresh.replacement.reset();
  effects.add([self = shared_from_this(), epoch = state.refresh.epoch, credentials = state.refresh.credentials,
               underlying = state.storage.underlying(state.refresh.credentials),
               backgroundTask = state.refresh.backgroundTask] {
    self->sendOutsideLock(epoch, credentials, underlying, backgroundTask);
  });
}

// The refresh may be revoked before the reservation, the background task or the request is known to its state. Each is
// then released here.
void RefreshStateMachine::sendOutsideLock(Epoch epoch, const OAuth2Credentials& credentials,
                                          const OAuth2Credentials& underlying,
                                          const std::shared_ptr<RefreshBackgroundTask>& backgroundTask) {
  // While the refresh token is unspent: nothing is lost if the store cannot be written.
  auto prepared = credStorage_->prepareReplacement(underlying);
  bool isReady = false;
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (!prepared) {
      log(effects, 4, "Did fail to prepare the store", prepared.error(), "refreshStep(credentials:)");
      return finish(state, effects, fail(prepared.error()), Notification::failure);
    }
    if (prepared->recovered) {
      // The store has moved on to them, and they may need a refresh themselves.
      if (!followStore(state, effects, RefreshMoment::lockTaken)) {
        finish(state, effects, *prepared->recovered, Notification::success);
      }
      return;
    }
    state.refresh.replacement = std::move(prepared->replacement);
    isReady = true;
  });
  if (!isReady) return;

  RefreshBackgroundTask::begin(backgroundTask);
  const auto task = tokenRefreshService_->refresh(credentials);
  if (!transact(epoch, [&](MutableState& state, Effects&) { state.refresh.refreshTask = task; })) return task.cancel();
  task.finally(
      weak_from_this(),
      [epoch](RefreshStateMachine& self, const Result<OAuth2Credentials>& result) {
        self.handleRefreshResult(epoch, result);
      },
      OperationQueue::main());
}

void RefreshStateMachine::handleRefreshResult(Epoch epoch, const Result<OAuth2Credentials>& result) {
  transact(epoch, [&](MutableState& state, Effects& effects) {
    state.refresh.refreshTask.reset();
    const auto backgroundTask =
        std::exchange(state.refresh.backgroundTask, std::make_shared<RefreshBackgroundTask>(backgroundExecutor_));
    if (result) {
      handleAnswer(state, effects, *result);
    } else {
      handleRefreshFailure(state, effects, result.error());
    }
    effects.add([backgroundTask] { backgroundTask->end(); });
  });
}

// Stores what was obtained for the credentials of this refresh, unless the store has moved on meanwhile.
void RefreshStateMachine::handleAnswer(MutableState& state, Effects& effects, const OAuth2Credentials& credentials) {
  static constexpr const char* operation = "handleRefreshSuccess(_:)";
  auto look = lookAtStore(state, RefreshMoment::answerArrived);
  Result<ReplaceOutcome> outcome = ReplaceOutcome::storeHasMovedOn;
  if (look.verdict == RefreshVerdict::goOn) {
    outcome = state.refresh.replacement->store(credentials);
    if (outcome == ReplaceOutcome::storeHasMovedOn) look = lookAtStore(state, RefreshMoment::answerArrived);
  }
  if (state.refresh.ownsLock) {
    const auto noted = refreshLock_->noteExchange(state.refresh.credentials);
    if (!noted) log(effects, 3, "Did fail to note the exchange", noted.error(), operation);
  }
  if (outcome == ReplaceOutcome::stored) return finish(state, effects, credentials, Notification::success);
  if (follow(state, effects, look)) return;
  if (!outcome) log(effects, 4, "Did fail to store credentials", outcome.error(), operation);
  state.storage.keep(credentials, state.refresh.credentials);
  finish(state, effects, credentials, Notification::none);
}

void RefreshStateMachine::handleRefreshFailure(MutableState& state, Effects& effects, const Error& error) {
  static constexpr const char* operation = "handleRefreshFailure(_:)";
  if (!isInvalidRefreshToken(error)) return finish(state, effects, fail(error), Notification::failure);
  if (followStore(state, effects, RefreshMoment::tokenInvalid)) return;
  if (refreshLock_ && refreshLock_->wereExchanged(state.refresh.credentials)) {
    // Another process holds what they were exchanged for, and could not store it yet.
    return finish(state, effects, fail(error), Notification::failure);
  }

  const auto lxauth = loadFallback(*credStorage_);
  if (!lxauth) {
    // What cannot be read may still restore the sign-in later, so this is no reason to end it.
    log(effects, 4, "Did fail to load fallback credentials", lxauth.error(), operation);
    return finish(state, effects, fail(error), Notification::failure);
  }
  auto manager = silentAuthorizationManager_.withLock([](const auto& current) { return current; });
  if (*lxauth && manager) return recover(state, effects, std::move(manager), **lxauth, error);

  finish(state, effects, fail(error), Notification::failure);
  log(effects, 4, "Logout user due to Invalid refresh token", error, operation);
  effects.add([self = shared_from_this()] { self->requestLogout(); });
}

void RefreshStateMachine::requestLogout() {
  if (const auto alive = delegate()) alive->oauth2CredentialsServiceDidRequestLogout();
}

// --- Recovery from an invalid refresh token --------------------------------------------------------------------------

void RefreshStateMachine::recover(MutableState& state, Effects& effects,
                                  std::shared_ptr<SilentAuthorizationManagerOAuth2> manager, const UserAuthData& lxauth,
                                  const Error& refreshError) {
  log(effects, 4, "Using fallback credentials for silent authorization to prevent user logout",
      "handleRefreshFailure(_:)");
  state.state = State::exchangingFallbackCredentials;
  effects.add(
      [self = shared_from_this(), epoch = state.refresh.epoch, manager = std::move(manager), lxauth, refreshError] {
        if (!self->transact(epoch, [](MutableState&, Effects&) {})) return;
        manager->exchange(lxauth).finally(
            self->weak_from_this(),
            [epoch, refreshError](RefreshStateMachine& service, const Result<OAuth2AuthDTO>& result) {
              if (result) {
                service.handleExchangeSuccess(epoch, result->oauth2Credentials);
              } else {
                service.handleExchangeFailure(epoch, result.error(), refreshError);
              }
            },
            OperationQueue::main());
      });
}

void RefreshStateMachine::handleExchangeSuccess(Epoch epoch, const OAuth2Credentials& credentials) {
  transact(epoch, [&](MutableState&, Effects& effects) {
    log(effects, 2, "Did recover OAuth2 credentials using fallback credentials", "handleRefreshFailure(_:)");
  });
  transact(epoch, [&](MutableState& state, Effects& effects) { handleAnswer(state, effects, credentials); });
}

void RefreshStateMachine::handleExchangeFailure(Epoch epoch, const Error& exchangeError, const Error& refreshError) {
  static constexpr const char* operation = "handleRefreshFailure(_:)";
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (followStore(state, effects, RefreshMoment::exchangeFailed)) return;
    state.refresh.decidedFailure = refreshError;
    log(effects, 2, "Did fail to recover using fallback credentials", exchangeError, operation);
    log(effects, 4, "Logout user due to Invalid refresh token", refreshError, operation);
    effects.add([self = shared_from_this()] { self->requestLogout(); });
  });
  // The delegate may have revoked the credentials, which ended this refresh with the same error.
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (state.refresh.decidedFailure) finish(state, effects, fail(refreshError), Notification::failure);
  });
}

// --- Waiting for another process -------------------------------------------------------------------------------------

void RefreshStateMachine::wait(MutableState& state, Effects& effects) {
  state.state = State::waitingForTokenRefreshByAnotherProcess;
  state.refresh.waitingSince = clock_->steadyNow();
  effects.add([self = shared_from_this(), epoch = state.refresh.epoch] {
    self->tokenRefreshNotificationsManager_->subscribe(
        epoch, [weak = self->weak_from_this(), epoch](const Result<void>& outcome) {
          const auto alive = weak.lock();
          if (!alive) return;
          alive->transact(epoch, [&](MutableState& current, Effects& consequences) {
            alive->handleNotification(current, consequences, outcome);
          });
        });
    // The holder may have finished, and posted, before there was a subscription.
    self->schedule(epoch, &RefreshStateMachine::poll);
  });
}

void RefreshStateMachine::stopWaiting(MutableState& state, Effects& effects) {
  if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
  effects.add(
      [manager = tokenRefreshNotificationsManager_, epoch = state.refresh.epoch] { manager->removeObservers(epoch); });
}

void RefreshStateMachine::poll(MutableState& state, Effects& effects) {
  if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
  if (takeLock(state, effects)) {
    if (!followStore(state, effects, RefreshMoment::lockTaken)) send(state, effects);
    return;
  }
  const auto left = state.refresh.waitingSince + waiting_.bound - clock_->steadyNow();
  const bool isBoundReached = left <= Clock::Duration::zero();
  if (followStore(state, effects, isBoundReached ? RefreshMoment::boundReached : RefreshMoment::stillHeld)) return;
  if (isBoundReached) {
    return finish(state, effects, fail(OAuth2Error::credentialsRefreshGenericError()), Notification::none);
  }
  if (std::exchange(state.refresh.isPollArmed, true)) return;
  const auto delay = std::min<Clock::Duration>(left, waiting_.pollInterval);
  effects.add([self = shared_from_this(), epoch = state.refresh.epoch, delay] { self->pollAfter(delay, epoch); });
}

void RefreshStateMachine::pollAfter(Clock::Duration delay, Epoch epoch) {
  clock_->after(delay, workQueue_, [weak = weak_from_this(), epoch] {
    const auto self = weak.lock();
    if (!self) return;
    self->transact(epoch, [&](MutableState& state, Effects& effects) {
      state.refresh.isPollArmed = false;
      self->poll(state, effects);
    });
  });
}

void RefreshStateMachine::handleNotification(MutableState& state, Effects& effects, const Result<void>& outcome) {
  if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
  if (followStore(state, effects, outcome ? RefreshMoment::successHeard : RefreshMoment::failureHeard)) return;
  if (outcome) {
    // Every waiter posts again, so that a success may belong to the refresh before. Whether this one goes on, the lock
    // tells.
    schedule(state.refresh.epoch, &RefreshStateMachine::poll);
  } else if (!refreshLock_->isAnotherRefreshing()) {
    // Otherwise the failure belongs to another refresh: the holder posts its own only after it has released the lock.
    handleRefreshFailure(state, effects, outcome.error());
  }
}

// --- The store decides -----------------------------------------------------------------------------------------------

RefreshStateMachine::Look RefreshStateMachine::lookAtStore(MutableState& state, RefreshMoment moment) {
  auto stored = state.storage.load();
  const auto verdict = verdictFor(moment, viewOf(stored, state.refresh.credentials, clock_->now()));
  const bool isFollowedAgain = verdict == RefreshVerdict::refreshStored && state.refresh.followedStore;
  return {std::move(stored), isFollowedAgain ? RefreshVerdict::take : verdict};
}

// Ends or redirects the refresh as the verdict says. Returns false if the verdict is to go on.
bool RefreshStateMachine::follow(MutableState& state, Effects& effects, const Look& look) {
  switch (look.verdict) {
    case RefreshVerdict::goOn:
      return false;
    case RefreshVerdict::take: {
      const auto storedAgain = credStorage_->replaceOAuth2Credentials(**look.stored, **look.stored);
      if (!storedAgain) {
        log(effects, 4, "Did fail to store credentials", storedAgain.error(), "handleRefreshSuccess(_:)");
      }
      finish(state, effects, **look.stored, Notification::success);
      return true;
    }
    case RefreshVerdict::refreshStored:
      state.refresh.followedStore = true;
      state.refresh.credentials = **look.stored;
      send(state, effects);
      return true;
    case RefreshVerdict::failNotFound:
      log(effects, 4, "Credentials not found", "handleRefreshSuccessNotificationFromAnotherProcess()");
      finish(state, effects, fail(OAuth2Error::credentialsNotFound()), Notification::failure);
      return true;
    case RefreshVerdict::failUnreadable:
      break;
  }
  finish(state, effects, fail(look.stored.error()), Notification::failure);
  return true;
}

bool RefreshStateMachine::followStore(MutableState& state, Effects& effects, RefreshMoment moment) {
  return follow(state, effects, lookAtStore(state, moment));
}

// --- The lock, and back to idle --------------------------------------------------------------------------------------

// Returns false if the lock is held by another. Without a usable lock the refresh goes on.
bool RefreshStateMachine::takeLock(MutableState& state, Effects& effects) {
  if (!refreshLock_) return true;
  const auto taken = refreshLock_->take();
  if (!taken && RefreshLock::isHeldByAnother(taken.error())) return false;
  state.refresh.ownsLock = taken.has_value();
  if (!taken) log(effects, 4, "Did fail to acquire file lock", taken.error(), "refreshStep(credentials:)");
  return true;
}

void RefreshStateMachine::releaseLock(Refresh& refresh, Effects& effects) {
  if (!std::exchange(refresh.ownsLock, false)) return;
  const auto released = refreshLock_->release();
  if (!released) log(effects, 4, "Did fail to unlock file", released.error(), "handleRefreshResult(_:)");
}

// The lock is released before anybody is told: a failure that is heard while the lock is held is another refresh's.
void RefreshStateMachine::finish(MutableState& state, Effects& effects, Result<OAuth2Credentials> result,
                                 Notification notification) {
  stopWaiting(state, effects);
  releaseLock(state.refresh, effects);
  state.refresh.replacement.reset();
  state.state = State::idle;
  workQueue_->async([pending = std::exchange(state.pending, {}), result = std::move(result), notification,
                     manager = tokenRefreshNotificationsManager_]() mutable {
    for (auto& completion : pending.getCredentialsCompletions) completion(result);
    for (auto& completion : pending.refreshCompletions) {
      completion(result ? Result<void>() : Result<void>(fail(result.error())));
    }
    if (notification == Notification::success) manager->postSuccess();
    if (notification == Notification::failure) manager->postFailure();
  });
}

}  // namespace lx
