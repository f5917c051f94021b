#pragma once

#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsService.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// Carries out what its policy decides about each outcome of a request: gives it back, sends the signed request again
/// after a delay, or refreshes the credentials after a delay and then has the request signed and sent again. If the
/// credentials have been replaced since the request was signed, it is signed and sent again without a refresh.
///
/// Network service and credentials refresher are held weakly: if one is gone when it is needed, the completion is
/// destroyed without being called, which cancels the call. Delays run on the queue that comes with the outcome; a
/// negative delay or NaN counts as 0, one beyond a century as a century.
class RequestRetrierImpl final : public RequestRetrier {
 public:
  explicit RequestRetrierImpl(std::shared_ptr<const RetryPolicy> retryPolicy,
                              std::shared_ptr<Clock> clock = Clock::system());

  void setNetworkService(std::weak_ptr<NetworkService> networkService);
  void setCredentialsRefresher(std::weak_ptr<OAuth2CredentialsRefresher> credentialsRefresher);

  void retryIfNeeded(const QueueRef& queue, URLRequest request, const NetworkResponse& networkResponse,
                     Completion<NetworkResponse> completion) override;
  void retryIfNeeded(const QueueRef& queue, URLRequest request, const Error& error,
                     Completion<NetworkResponse> completion) override;

 private:
  struct Collaborators {
    std::weak_ptr<NetworkService> networkService;
    std::weak_ptr<OAuth2CredentialsRefresher> credentialsRefresher;
  };

  void carryOut(RetryAction action, const QueueRef& queue, URLRequest request, Completion<NetworkResponse> completion);
  void logRetry(const RetryAction& action, LogSite site) const;

  Protected<Collaborators> collaborators_;
  const std::shared_ptr<const RetryPolicy> retryPolicy_;
  const Logger logger_ = Logger::oauth2;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace lx
