#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshNotificationsManager.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

TokenRefreshNotificationsManagerImpl::TokenRefreshNotificationsManagerImpl(
    std::shared_ptr<DarwinNotificationCenter> notificationsCenter)
    : notificationsCenter_(std::move(notificationsCenter)) {}

TokenRefreshNotificationsManagerImpl::~TokenRefreshNotificationsManagerImpl() {
  remove(subscriptions_.withLock([](const auto& current) { return current; }));
}

void TokenRefreshNotificationsManagerImpl::subscribe(std::uint64_t subscriber,
                                                     std::function<void(Result<void>)> handler) {
  const auto main = OperationQueue::main();
  Subscriptions subscriptions{.subscriber = subscriber, .success = {}, .failure = {}};
  subscriptions.success = notificationsCenter_->addObserver(successName, main, [handler] { handler({}); });
  subscriptions.failure = notificationsCenter_->addObserver(
      failureName, main, [handler] { handler(fail(OAuth2Error::credentialsRefreshGenericError())); });
  subscriptions_.withLock([&](auto& current) { std::swap(current, subscriptions); });
  remove(subscriptions);
}

void TokenRefreshNotificationsManagerImpl::removeObservers(std::uint64_t subscriber) {
  remove(subscriptions_.withLock(
      [&](auto& current) { return current.subscriber == subscriber ? std::exchange(current, {}) : Subscriptions{}; }));
}

void TokenRefreshNotificationsManagerImpl::remove(const Subscriptions& subscriptions) {
  if (subscriptions.success) notificationsCenter_->removeObserver(*subscriptions.success);
  if (subscriptions.failure) notificationsCenter_->removeObserver(*subscriptions.failure);
}

void TokenRefreshNotificationsManagerImpl::postSuccess() { notificationsCenter_->post(successName); }
void TokenRefreshNotificationsManagerImpl::postFailure() { notificationsCenter_->post(failureName); }

}  // namespace lx
