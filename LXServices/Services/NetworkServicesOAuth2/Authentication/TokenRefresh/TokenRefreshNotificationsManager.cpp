#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshNotificationsManager.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

TokenRefreshNotificationsManagerImpl::TokenRefreshNotificationsManagerImpl(
    std::shared_ptr<DarwinNotificationCenter> notificationsCenter)
    : notificationsCenter_(std::move(notificationsCenter)) {}

TokenRefreshNotificationsManagerImpl::~TokenRefreshNotificationsManagerImpl() { removeObservers(); }

void TokenRefreshNotificationsManagerImpl::subscribe(std::function<void(Result<void>)> handler) {
  const auto main = OperationQueue::main();
  Subscriptions subscriptions;
  subscriptions.success = notificationsCenter_->addObserver(successName, main, [handler] { handler({}); });
  subscriptions.failure = notificationsCenter_->addObserver(
      failureName, main, [handler] { handler(fail(OAuth2Error::credentialsRefreshGenericError())); });
  replaceSubscriptions(subscriptions);
}

void TokenRefreshNotificationsManagerImpl::removeObservers() { replaceSubscriptions({}); }

void TokenRefreshNotificationsManagerImpl::replaceSubscriptions(Subscriptions subscriptions) {
  subscriptions_.withLock([&](auto& current) { std::swap(current, subscriptions); });
  if (subscriptions.success) notificationsCenter_->removeObserver(*subscriptions.success);
  if (subscriptions.failure) notificationsCenter_->removeObserver(*subscriptions.failure);
}

void TokenRefreshNotificationsManagerImpl::postSuccess() { notificationsCenter_->post(successName); }
void TokenRefreshNotificationsManagerImpl::postFailure() { notificationsCenter_->post(failureName); }

}  // namespace lx
