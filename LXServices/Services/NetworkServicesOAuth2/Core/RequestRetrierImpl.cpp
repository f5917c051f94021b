#include "LXServices/Services/NetworkServicesOAuth2/Core/RequestRetrierImpl.h"

#include <algorithm>
#include <string>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Core/URLRequestSignerOAuth2.h"
#include "LXUtils/Foundation/Overloaded.h"

namespace lx {
namespace {

// A policy can return any number.
Clock::Duration delayOf(const RetryDescriptor& descriptor) {
  constexpr std::chrono::duration<double> longest = std::chrono::years(100);
  const std::chrono::duration<double> delay(descriptor.delay > 0 ? descriptor.delay : 0);
  return std::chrono::duration_cast<Clock::Duration>(std::min(delay, longest));
}

// Nobody waits for an ended call any more, so that neither a refresh nor a resend is worth its cost.
bool isAbandoned(const URLRequest& request) { return request.identity && request.identity->hasEnded(); }

void refreshThenSend(OAuth2CredentialsRefresher& refresher, std::weak_ptr<NetworkService> networkService,
                     const QueueRef& queue, URLRequest request, Completion<NetworkResponse> completion) {
  const std::string rejectedToken = signedAccessToken(request);
  refresher.refreshRejectedOAuth2Credentials(
      rejectedToken, [networkService = std::move(networkService), queue, request = std::move(request),
                      completion = std::move(completion)](Result<void> refreshed) mutable {
        if (!refreshed) {
          // The refresher answers on a queue of its own.
          return queue->async([completion = std::move(completion), error = refreshed.error()]() mutable {
            completion(fail(std::move(error)));
          });
        }
        if (const auto service = networkService.lock()) {
          service->authorizeAndLoad(std::move(request), std::move(completion));
        }
      });
}

}  // namespace

RequestRetrierImpl::RequestRetrierImpl(std::shared_ptr<const RetryPolicy> retryPolicy, std::shared_ptr<Clock> clock)
    : retryPolicy_(std::move(retryPolicy)), clock_(std::move(clock)) {}

void RequestRetrierImpl::setNetworkService(std::weak_ptr<NetworkService> networkService) {
  collaborators_.withLock([&](auto& current) { current.networkService.swap(networkService); });
}

void RequestRetrierImpl::setCredentialsRefresher(std::weak_ptr<OAuth2CredentialsRefresher> credentialsRefresher) {
  collaborators_.withLock([&](auto& current) { current.credentialsRefresher.swap(credentialsRefresher); });
}

void RequestRetrierImpl::retryIfNeeded(const QueueRef& queue, URLRequest request,
                                       const NetworkResponse& networkResponse, Completion<NetworkResponse> completion) {
  auto action = retryPolicy_->resolveRetryAction(request, networkResponse);
  logRetry(action, "retryIfNeeded(on:request:networkResponse:completion:)");
  carryOut(std::move(action), queue, std::move(request), std::move(completion));
}

void RequestRetrierImpl::retryIfNeeded(const QueueRef& queue, URLRequest request, const Error& error,
                                       Completion<NetworkResponse> completion) {
  auto action = retryPolicy_->resolveRetryAction(request, error);
  logRetry(action, "retryIfNeeded(on:request:error:completion:)");
  carryOut(std::move(action), queue, std::move(request), std::move(completion));
}

void RequestRetrierImpl::carryOut(RetryAction action, const QueueRef& queue, URLRequest request,
                                  Completion<NetworkResponse> completion) {
  const auto collaborators = collaborators_.withLock([](const auto& current) { return current; });
  std::visit(
      Overloaded{
          [&](const RetryAction::RefreshCredentialsAndRetry& refresh) {
            clock_->after(
                delayOf(refresh.descriptor), queue,
                [collaborators, queue, request = std::move(request), completion = std::move(completion)]() mutable {
                  const auto refresher = collaborators.credentialsRefresher.lock();
                  // Without the service nobody could send the request, and the refresh would be for nothing.
                  if (!refresher || collaborators.networkService.expired() || isAbandoned(request)) return;
                  refreshThenSend(*refresher, collaborators.networkService, queue, std::move(request),
                                  std::move(completion));
                });
          },
          [&](const RetryAction::Retry& retry) {
            clock_->after(delayOf(retry.descriptor), queue,
                          [collaborators, request = std::move(request), completion = std::move(completion)]() mutable {
                            const auto service = collaborators.networkService.lock();
                            if (!service || isAbandoned(request)) return;
                            service->load(std::move(request), std::move(completion));
                          });
          },
          [&](RetryAction::GiveResponseBack& response) { completion(std::move(response.response)); },
          [&](RetryAction::GiveErrorBack& error) { completion(fail(std::move(error.error))); },
      },
      action.outcome);
}

void RequestRetrierImpl::logRetry(const RetryAction& action, LogSite site) const {
  if (!Logger::isEnabled(1)) return;
  std::visit(Overloaded{
                 [&](const RetryAction::RefreshCredentialsAndRetry&) {
                   logger_.log(1, "Refreshing the credentials before the request is sent again", site);
                 },
                 [&](const RetryAction::Retry& retry) {
                   logger_.log(1, "Sending the request again, attempt " + std::to_string(retry.descriptor.attempt),
                               site);
                 },
                 [](const auto&) {},
             },
             action.outcome);
}

}  // namespace lx
