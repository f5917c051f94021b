#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshEvidenceInternal.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

OAuth2CredentialsServiceImpl::OAuth2CredentialsServiceImpl(
    std::shared_ptr<AuthCredentialsStorage> credStorage, std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
    std::shared_ptr<TokenRefreshNotificationsManager> notificationsManager, std::unique_ptr<FileLock> fileLock,
    std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting, std::shared_ptr<Clock> clock)
    : credStorage_(std::move(credStorage)),
      tokenRefreshService_(std::move(tokenRefreshService)),
      tokenRefreshNotificationsManager_(std::move(notificationsManager)),
      fileLock_(std::move(fileLock)),
      backgroundExecutor_(std::move(backgroundExecutor)),
      waiting_(waiting),
      clock_(std::move(clock)) {}

std::shared_ptr<OAuth2CredentialsServiceImpl> OAuth2CredentialsServiceImpl::make(
    std::shared_ptr<AuthCredentialsStorage> credStorage, std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
    const URL& lockFileURL, std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
    std::shared_ptr<Clock> clock) {
  auto files = openRefreshFiles(lockFileURL);
  std::unique_ptr<FileLock> fileLock;
  if (files.lock) {
    fileLock = *std::move(files.lock);
  } else {
    Logger::oauth2.log(4, "File lock initialization failed", files.lock.error().description(),
                       "init(credStorage:tokenRefreshService:lockFileURL:backgroundExecutor:)");
  }
  return std::shared_ptr<OAuth2CredentialsServiceImpl>(new OAuth2CredentialsServiceImpl(
      std::move(credStorage), std::move(tokenRefreshService),
      std::make_shared<TokenRefreshNotificationsManagerImpl>(std::move(files.notificationCenter)), std::move(fileLock),
      std::move(backgroundExecutor), waiting, std::move(clock)));
}

OAuth2CredentialsServiceImpl::~OAuth2CredentialsServiceImpl() {
  const auto identifier =
      mutableState_.withLock([](const MutableState& state) { return state.refresh.backgroundTaskIdentifier; });
  if (identifier) backgroundExecutor_->endBackgroundTask(*identifier);
}

// --- The frame of every transition -----------------------------------------------------------------------------------

template <class F>
void OAuth2CredentialsServiceImpl::transact(F&& transition) {
  Effects effects;
  mutableState_.withLock([&](MutableState& state) { transition(state, effects); });
  effects.run();
}

// A transition of one refresh; nothing happens once that refresh is over.
template <class F>
void OAuth2CredentialsServiceImpl::transact(Epoch epoch, F&& transition) {
  transact([&](MutableState& state, Effects& effects) {
    if (state.state != State::idle && state.refresh.epoch == epoch) transition(state, effects);
  });
}

// Runs a step of one refresh on the work queue.
template <class F>
void OAuth2CredentialsServiceImpl::schedule(Epoch epoch, F step) {
  workQueue_->async([weak = weak_from_this(), epoch, step] {
    const auto self = weak.lock();
    if (!self) return;
    self->transact(epoch, [&](MutableState& state, Effects& effects) { (self.get()->*step)(state, effects); });
  });
}

void OAuth2CredentialsServiceImpl::log(Effects& effects, LogLevel level, const char* message, LogSite site) {
  effects.add([logger = logger_, level, message, site] { logger.log(level, message, site); });
}

void OAuth2CredentialsServiceImpl::log(Effects& effects, LogLevel level, const char* message, const Error& error,
                                       LogSite site) {
  effects.add(
      [logger = logger_, level, message, error, site] { logger.log(level, message, error.description(), site); });
}

// --- What callers ask for --------------------------------------------------------------------------------------------

bool OAuth2CredentialsServiceImpl::hasCredentials() {
  const auto stored = mutableState_.withLock([&](MutableState& state) { return loadCredentials(state); });
  return !stored || stored->has_value();
}

void OAuth2CredentialsServiceImpl::getOAuth2Credentials(Completion<OAuth2Credentials> completion) {
  std::optional<OAuth2Credentials> valid;
  transact([&](MutableState& state, Effects& effects) {
    auto& waiting = state.pending.getCredentialsCompletions;
    if (state.state != State::idle) return waiting.push_back(std::move(completion));
    auto stored = loadForCaller(state, effects, completion, "getOAuth2Credentials(_:)");
    if (!stored) return;
    if (stored->needsRefresh(clock_->now())) {
      waiting.push_back(std::move(completion));
      start(state, *stored);
    } else {
      valid = std::move(stored);
    }
  });
  if (valid) completion(*std::move(valid));
}

void OAuth2CredentialsServiceImpl::refreshOAuth2Credentials(Completion<void> completion) {
  transact([&](MutableState& state, Effects& effects) {
    auto& waiting = state.pending.refreshCompletions;
    if (state.state != State::idle) return waiting.push_back(std::move(completion));
    const auto stored = loadForCaller(state, effects, completion, "refreshOAuth2Credentials(_:)");
    if (!stored) return;
    waiting.push_back(std::move(completion));
    start(state, *stored);
  });
}

// The stored credentials. Without them, the caller is answered with the reason.
template <class T>
std::optional<OAuth2Credentials> OAuth2CredentialsServiceImpl::loadForCaller(MutableState& state, Effects& effects,
                                                                             Completion<T>& completion, LogSite site) {
  auto stored = loadCredentials(state);
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

// The stored credentials, or the pair that the store did not take when it should have; storing that is tried again once
// a second. Once the store holds anything but what the pair replaces, the store is right.
Result<std::optional<OAuth2Credentials>> OAuth2CredentialsServiceImpl::loadCredentials(MutableState& state) {
  auto stored = credStorage_->loadOAuth2Credentials();
  if (!state.unsaved) return stored;
  if (stored && (!*stored || !haveSameTokens(**stored, state.unsaved->replaced))) {
    state.unsaved.reset();
    return stored;
  }
  auto credentials = state.unsaved->credentials;
  const auto now = clock_->steadyNow();
  // What cannot be read may be anybody's, and is not written over.
  if (!stored || now < state.unsaved->nextAttempt) return credentials;
  state.unsaved->nextAttempt = now + std::chrono::seconds(1);
  if (credStorage_->storeOAuth2Credentials(credentials)) state.unsaved.reset();
  return credentials;
}

void OAuth2CredentialsServiceImpl::start(MutableState& state, const OAuth2Credentials& credentials) {
  state.state = State::refreshingToken;
  Refresh refresh;
  refresh.epoch = state.refresh.epoch + 1;
  refresh.credentials = credentials;
  state.refresh = std::move(refresh);
  schedule(state.refresh.epoch, &OAuth2CredentialsServiceImpl::refreshStep);
}

std::shared_ptr<OAuth2CredentialsServiceDelegate> OAuth2CredentialsServiceImpl::delegate() const {
  return delegate_.withLock([](const auto& current) { return current.lock(); });
}

void OAuth2CredentialsServiceImpl::setDelegate(std::weak_ptr<OAuth2CredentialsServiceDelegate> delegate) {
  delegate_.withLock([&](auto& current) { current.swap(delegate); });
}

void OAuth2CredentialsServiceImpl::setSilentAuthorizationManager(
    std::shared_ptr<SilentAuthorizationManagerOAuth2> manager) {
  silentAuthorizationManager_.withLock([&](auto& current) { current.swap(manager); });
}

// --- Refreshing ------------------------------------------------------------------------------------------------------

void OAuth2CredentialsServiceImpl::refreshStep(MutableState& state, Effects& effects) {
  if (fileLock_) {
    const auto locked = fileLock_->try_();
    if (!locked && isHeldByAnother(locked.error())) {
      log(effects, 2, "File already locked", "refreshStep(credentials:)");
      return wait(state, effects);
    }
    state.refresh.ownsFileLock = locked.has_value();
    if (!locked) log(effects, 4, "Did fail to acquire file lock", locked.error(), "refreshStep(credentials:)");
    const bool areSpent = locked && wereExchanged(*fileLock_, state.refresh.credentials);
    if (areSpent && followStore(state, effects, Unreadable::endsTheRefresh)) return;
  }
  send(state, effects);
}

void OAuth2CredentialsServiceImpl::send(MutableState& state, Effects& effects) {
  state.state = State::refreshingToken;
  effects.add([self = shared_from_this(), epoch = state.refresh.epoch, credentials = state.refresh.credentials] {
    self->sendOutsideLock(epoch, credentials);
  });
}

void OAuth2CredentialsServiceImpl::sendOutsideLock(Epoch epoch, const OAuth2Credentials& credentials) {
  const auto identifier = backgroundExecutor_->beginBackgroundTask("Token Refresh", [weak = weak_from_this(), epoch] {
    if (const auto self = weak.lock()) self->handleBackgroundTaskExpiry(epoch);
  });
  // The refresh may be revoked before either the background task or the request is known to it.
  bool isCurrent = false;
  transact(epoch, [&](MutableState& state, Effects& effects) {
    isCurrent = true;
    if (!std::exchange(state.refresh.hasBackgroundTaskExpired, false)) {
      state.refresh.backgroundTaskIdentifier = identifier;
    } else {
      effects.add([self = shared_from_this(), identifier] { self->endBackgroundTask(identifier); });
    }
  });
  if (!isCurrent) return backgroundExecutor_->endBackgroundTask(identifier);

  const auto task = tokenRefreshService_->refresh(credentials);
  isCurrent = false;
  transact(epoch, [&](MutableState& state, Effects&) {
    state.refresh.refreshTask = task;
    isCurrent = true;
  });
  if (!isCurrent) return task.cancel();
  task.finally(
      weak_from_this(),
      [epoch](OAuth2CredentialsServiceImpl& self, const Result<OAuth2Credentials>& result) {
        self.handleRefreshResult(epoch, result);
      },
      OperationQueue::main());
}

void OAuth2CredentialsServiceImpl::handleRefreshResult(Epoch epoch, const Result<OAuth2Credentials>& result) {
  transact(epoch, [&](MutableState& state, Effects& effects) {
    const auto identifier = std::exchange(state.refresh.backgroundTaskIdentifier, std::nullopt);
    state.refresh.refreshTask.reset();
    if (!result) {
      handleRefreshFailure(state, effects, result.error());
    } else {
      if (state.refresh.ownsFileLock) {
        const auto noted = recordExchange(*fileLock_, state.refresh.credentials);
        if (!noted) log(effects, 3, "Did fail to note the exchange", noted.error(), "handleRefreshResult(_:)");
      }
      // A process that was suspended while it refreshed must not overwrite what has been stored since.
      if (!followStore(state, effects, Unreadable::countsAsUnchanged)) storeAndFinish(state, effects, *result);
    }
    effects.add([self = shared_from_this(), identifier] { self->endBackgroundTask(identifier); });
  });
}

void OAuth2CredentialsServiceImpl::handleRefreshFailure(MutableState& state, Effects& effects, const Error& error) {
  static constexpr const char* operation = "handleRefreshFailure(_:)";
  if (!isInvalidRefreshToken(error)) return finish(state, effects, fail(error), Notification::failure);
  if (followStoreIfMovedOn(state, effects)) return;

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

void OAuth2CredentialsServiceImpl::requestLogout() {
  if (const auto alive = delegate()) alive->oauth2CredentialsServiceDidRequestLogout();
}

// --- Recovery from an invalid refresh token --------------------------------------------------------------------------

void OAuth2CredentialsServiceImpl::recover(MutableState& state, Effects& effects,
                                           std::shared_ptr<SilentAuthorizationManagerOAuth2> manager,
                                           const UserAuthData& lxauth, const Error& refreshError) {
  log(effects, 4, "Using fallback credentials for silent authorization to prevent user logout",
      "handleRefreshFailure(_:)");
  state.state = State::exchangingFallbackCredentials;
  effects.add(
      [self = shared_from_this(), epoch = state.refresh.epoch, manager = std::move(manager), lxauth, refreshError] {
        bool isCurrent = false;
        self->transact(epoch, [&](MutableState&, Effects&) { isCurrent = true; });
        if (!isCurrent) return;
        manager->exchange(lxauth).finally(
            self->weak_from_this(),
            [epoch, refreshError](OAuth2CredentialsServiceImpl& service, const Result<OAuth2AuthDTO>& result) {
              if (result) {
                service.handleExchangeSuccess(epoch, result->oauth2Credentials);
              } else {
                service.handleExchangeFailure(epoch, result.error(), refreshError);
              }
            },
            OperationQueue::main());
      });
}

void OAuth2CredentialsServiceImpl::handleExchangeSuccess(Epoch epoch, const OAuth2Credentials& credentials) {
  transact(epoch, [&](MutableState&, Effects& effects) {
    log(effects, 2, "Did recover OAuth2 credentials using fallback credentials", "handleRefreshFailure(_:)");
  });
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (!followStore(state, effects, Unreadable::countsAsUnchanged)) storeAndFinish(state, effects, credentials);
  });
}

void OAuth2CredentialsServiceImpl::handleExchangeFailure(Epoch epoch, const Error& exchangeError,
                                                         const Error& refreshError) {
  static constexpr const char* operation = "handleRefreshFailure(_:)";
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (followStoreIfMovedOn(state, effects)) return;
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

void OAuth2CredentialsServiceImpl::wait(MutableState& state, Effects& effects) {
  state.state = State::waitingForTokenRefreshByAnotherProcess;
  state.refresh.waitingSince = clock_->steadyNow();
  effects.add([self = shared_from_this(), epoch = state.refresh.epoch] {
    self->tokenRefreshNotificationsManager_->subscribe(epoch,
                                                       [weak = self->weak_from_this(), epoch](Result<void> outcome) {
                                                         if (const auto alive = weak.lock())
                                                           alive->handleNotification(epoch, outcome);
                                                       });
    // The holder may have finished, and told so, before there was a subscription.
    self->schedule(epoch, &OAuth2CredentialsServiceImpl::poll);
  });
}

void OAuth2CredentialsServiceImpl::poll(MutableState& state, Effects& effects) {
  if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
  const auto locked = fileLock_->try_();
  if (!locked && isHeldByAnother(locked.error())) {
    const auto left = state.refresh.waitingSince + waiting_.bound - clock_->steadyNow();
    if (left > Clock::Duration::zero()) {
      if (std::exchange(state.refresh.isPollArmed, true)) return;
      const auto delay = std::min<Clock::Duration>(left, waiting_.pollInterval);
      return effects.add(
          [self = shared_from_this(), epoch = state.refresh.epoch, delay] { self->pollAfter(delay, epoch); });
    }
    effects.add([manager = tokenRefreshNotificationsManager_, epoch = state.refresh.epoch] {
      manager->removeObservers(epoch);
    });
    if (takeValidFromStore(state, effects)) return;
    return finish(state, effects, fail(OAuth2Error::credentialsRefreshGenericError()), Notification::none);
  }
  state.refresh.ownsFileLock = locked.has_value();
  if (!locked) log(effects, 4, "Did fail to acquire file lock", locked.error(), "refreshStep(credentials:)");
  effects.add(
      [manager = tokenRefreshNotificationsManager_, epoch = state.refresh.epoch] { manager->removeObservers(epoch); });
  if (!followStore(state, effects, Unreadable::endsTheRefresh)) send(state, effects);
}

void OAuth2CredentialsServiceImpl::pollAfter(Clock::Duration delay, Epoch epoch) {
  clock_->after(delay, workQueue_, [weak = weak_from_this(), epoch] {
    const auto self = weak.lock();
    if (!self) return;
    self->transact(epoch, [&](MutableState& state, Effects& effects) {
      state.refresh.isPollArmed = false;
      self->poll(state, effects);
    });
  });
}

void OAuth2CredentialsServiceImpl::handleNotification(Epoch epoch, const Result<void>& outcome) {
  bool isOver = false;
  transact(epoch, [&](MutableState& state, Effects&) {
    if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
    isOver = !outcome || !holdsSameTokens(loadCredentials(state), state.refresh.credentials);
    // Every waiter posts again, so a success may belong to the refresh before. The lock tells whether this one goes on.
    if (!isOver) schedule(epoch, &OAuth2CredentialsServiceImpl::poll);
  });
  if (!isOver) return;
  tokenRefreshNotificationsManager_->removeObservers(epoch);
  transact(epoch, [&](MutableState& state, Effects& effects) {
    if (state.state != State::waitingForTokenRefreshByAnotherProcess) return;
    if (!outcome) {
      // Every waiter posts again, so a failure may belong to the refresh before, too.
      if (!takeValidFromStore(state, effects)) handleRefreshFailure(state, effects, outcome.error());
      return;
    }
    const auto stored = loadCredentials(state);
    if (stored && *stored) return storeAndFinish(state, effects, **stored);
    failWithoutCredentials(state, effects, stored);
  });
}

// --- The store decides -----------------------------------------------------------------------------------------------

// Ends or redirects the refresh when the store no longer holds the credentials that it was started with.
bool OAuth2CredentialsServiceImpl::followStore(MutableState& state, Effects& effects, Unreadable unreadable) {
  const auto stored = loadCredentials(state);
  if (stored && *stored) return follow(state, effects, **stored);
  if (!stored && unreadable == Unreadable::countsAsUnchanged) return false;
  failWithoutCredentials(state, effects, stored);
  return true;
}

// The same before the sign-in is given up: an empty store does not count as one that has moved on, and one that cannot
// be read may have, so that the refresh ends with that error and the sign-in stays.
bool OAuth2CredentialsServiceImpl::followStoreIfMovedOn(MutableState& state, Effects& effects) {
  const auto stored = loadCredentials(state);
  if (stored) return *stored && follow(state, effects, **stored);
  finish(state, effects, fail(stored.error()), Notification::failure);
  return true;
}

// Credentials of another process that need a refresh themselves are refreshed, once.
bool OAuth2CredentialsServiceImpl::follow(MutableState& state, Effects& effects, const OAuth2Credentials& stored) {
  if (haveSameTokens(stored, state.refresh.credentials)) return false;
  if (stored.needsRefresh(clock_->now()) && !std::exchange(state.refresh.followedStore, true)) {
    state.refresh.credentials = stored;
    send(state, effects);
  } else {
    storeAndFinish(state, effects, stored);
  }
  return true;
}

// For a waiter, who may not send: answers with what another process has left, if that is good.
bool OAuth2CredentialsServiceImpl::takeValidFromStore(MutableState& state, Effects& effects) {
  const auto stored = loadCredentials(state);
  if (!stored || !*stored || haveSameTokens(**stored, state.refresh.credentials)) return false;
  if ((*stored)->needsRefresh(clock_->now())) return false;
  storeAndFinish(state, effects, **stored);
  return true;
}

void OAuth2CredentialsServiceImpl::failWithoutCredentials(MutableState& state, Effects& effects,
                                                          const Result<std::optional<OAuth2Credentials>>& stored) {
  if (!stored) return handleRefreshFailure(state, effects, stored.error());
  log(effects, 4, "Credentials not found", "handleRefreshSuccessNotificationFromAnotherProcess()");
  handleRefreshFailure(state, effects, OAuth2Error::credentialsNotFound());
}

// --- Back to idle ----------------------------------------------------------------------------------------------------

void OAuth2CredentialsServiceImpl::storeAndFinish(MutableState& state, Effects& effects,
                                                  const OAuth2Credentials& credentials) {
  const auto stored = credStorage_->storeOAuth2Credentials(credentials);
  if (stored) {
    state.unsaved.reset();
  } else {
    // The refresh token that is in the store has been spent: what replaces it must not be lost.
    const auto& replaced = state.unsaved ? state.unsaved->replaced : state.refresh.credentials;
    state.unsaved = Unsaved{credentials, replaced, clock_->steadyNow()};
    log(effects, 4, "Did fail to store credentials", stored.error(), "handleRefreshSuccess(_:)");
  }
  finish(state, effects, credentials, stored ? Notification::success : Notification::none);
}

void OAuth2CredentialsServiceImpl::finish(MutableState& state, Effects& effects, Result<OAuth2Credentials> result,
                                          Notification notification) {
  deliver(std::exchange(state.pending, {}), std::move(result), notification);
  releaseFileLock(state.refresh, effects);
  state.state = State::idle;
}

void OAuth2CredentialsServiceImpl::deliver(Pending pending, Result<OAuth2Credentials> result,
                                           Notification notification) {
  workQueue_->async([pending = std::move(pending), result = std::move(result), notification,
                     manager = tokenRefreshNotificationsManager_]() mutable {
    for (auto& completion : pending.getCredentialsCompletions) completion(result);
    for (auto& completion : pending.refreshCompletions) {
      completion(result ? Result<void>() : Result<void>(fail(result.error())));
    }
    if (notification == Notification::success) manager->postSuccess();
    if (notification == Notification::failure) manager->postFailure();
  });
}

void OAuth2CredentialsServiceImpl::releaseFileLock(Refresh& refresh, Effects& effects) {
  if (!std::exchange(refresh.ownsFileLock, false)) return;
  const auto unlocked = fileLock_->unlock();
  if (!unlocked) log(effects, 4, "Did fail to unlock file", unlocked.error(), "handleRefreshResult(_:)");
}

void OAuth2CredentialsServiceImpl::endBackgroundTask(std::optional<BackgroundExecutor::Identifier> identifier) {
  if (identifier) {
    backgroundExecutor_->endBackgroundTask(*identifier);
  } else {
    logger_.log(3, "Unbalanced call to end background task", "endBackgroundTask()");
  }
}

// The refresh itself goes on.
void OAuth2CredentialsServiceImpl::handleBackgroundTaskExpiry(Epoch epoch) {
  transact(epoch, [&](MutableState& state, Effects& effects) {
    log(effects, 4, "Background Refresh Task has reached timeout", "refreshStep(credentials:)");
    const auto identifier = std::exchange(state.refresh.backgroundTaskIdentifier, std::nullopt);
    if (!identifier) {
      state.refresh.hasBackgroundTaskExpired = true;
    } else {
      effects.add([self = shared_from_this(), identifier] { self->endBackgroundTask(identifier); });
    }
  });
}

Task<void> OAuth2CredentialsServiceImpl::revokeCredentials() {
  transact([&](MutableState& state, Effects& effects) {
    if (state.state == State::idle) return;
    releaseFileLock(state.refresh, effects);
    const auto error = state.refresh.decidedFailure.value_or(OAuth2Error::credentialsRefreshWasCancelled());
    workQueue_->async([self = shared_from_this(), refresh = state.refresh] { self->cancelOngoingRefresh(refresh); });
    // Right behind the cancel: the next refresh must not subscribe before this one's failure is posted.
    deliver(std::exchange(state.pending, {}), fail(error), Notification::failure);
    state.state = State::idle;
  });

  const auto stored = mutableState_.withLock([&](MutableState& state) { return loadCredentials(state); });
  if (stored && *stored) return tokenRefreshService_->revoke(**stored);
  if (!stored) {
    logger_.log(4, "Did fail to load credentials", stored.error().description(), "revokeCredentials()");
    return Task<void>::failure(stored.error());
  }
  logger_.log(4, "Credentials to revoke not found", "revokeCredentials()");
  return Task<void>::failure(OAuth2Error::credentialsNotFound());
}

// Runs on the work queue, so that whatever refresh comes next takes its first step after this.
void OAuth2CredentialsServiceImpl::cancelOngoingRefresh(const Refresh& refresh) {
  if (refresh.refreshTask) refresh.refreshTask->cancel();
  tokenRefreshNotificationsManager_->removeObservers(refresh.epoch);
  endBackgroundTask(refresh.backgroundTaskIdentifier);
  logger_.log(2, "Did cancel ongoing token refresh", "cancelOngoingRefreshIfNeeded()");
}

}  // namespace lx
