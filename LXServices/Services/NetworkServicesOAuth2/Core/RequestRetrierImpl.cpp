#include "LXServices/Services/NetworkServicesOAuth2/Core/RequestRetrierImpl.h"

#include <string>
#include <utility>

#include "LXUtils/Foundation/Overloaded.h"

namespace lx {
namespace {

Clock::Duration delayOf(const RetryDescriptor& descriptor) {
  return std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>(descriptor.delay));
}

// Nobody waits for an ended call any more, so that neither a refresh nor a resend is worth its cost.
bool isAbandoned(const URLRequest& request) { return request.identity && request.identity->hasEnded(); }

void refreshThenSend(OAuth2CredentialsRefresher& refresher, std::weak_ptr<NetworkService> networkService,
                     URLRequest request, Completion<NetworkResponse> completion) {
  refresher.refreshOAuth2Credentials([networkService = std::move(networkService), request = std::move(request),
                                      completion = std::move(completion)](Result<void> refreshed) mutable {
    if (!refreshed) return completion(fail(refreshed.error()));
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

void RequestRetrierImpl::retryIfNeeded(const QueueRef& queue, URLRequest request, NetworkResponse networkResponse,
                                       Completion<NetworkResponse> completion) {
  auto action = retryPolicy_->resolveRetryAction(request, networkResponse);
  carryOut(std::move(action), queue, std::move(request), std::move(completion));
}

void RequestRetrierImpl::retryIfNeeded(const QueueRef& queue, URLRequest request, Error error,
                                       Completion<NetworkResponse> completion) {
  auto action = retryPolicy_->resolveRetryAction(request, error);
  carryOut(std::move(action), queue, std::move(request), std::move(completion));
}

void RequestRetrierImpl::requestDidEnd(const URLRequest& request) { retryPolicy_->requestDidEnd(request); }

void RequestRetrierImpl::carryOut(RetryAction action, const QueueRef& queue, URLRequest request,
                                  Completion<NetworkResponse> completion) {
  const auto collaborators = collaborators_.withLock([](const auto& current) { return current; });
  std::visit(
      Overloaded{
          [&](const RetryAction::RefreshCredentialsAndRetry& refresh) {
            logRetry("Refreshing credentials before retry", refresh.descriptor);
            clock_->after(delayOf(refresh.descriptor), queue,
                          [collaborators, request = std::move(request), completion = std::move(completion)]() mutable {
                            const auto refresher = collaborators.credentialsRefresher.lock();
                            if (!refresher || isAbandoned(request)) return;
                            refreshThenSend(*refresher, collaborators.networkService, std::move(request),
                                            std::move(completion));
                          });
          },
          [&](const RetryAction::Retry& retry) {
            logRetry("Retrying request", retry.descriptor);
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

void RequestRetrierImpl::logRetry(const char* message, const RetryDescriptor& descriptor) const {
  if (!Logger::isEnabled(1)) return;
  logger_.log(1, std::string(message) + ", attempt " + std::to_string(descriptor.attempt),
              "retryIfNeeded(on:request:completion:)");
}

}  // namespace lx
