#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryPolicies.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationErrorInfo.h"
#include "LXUtils/Network/NetworkError.h"
#include "LXUtils/Network/NetworkResponseAnalysis.h"

namespace lx {
namespace {

// Every transport error is treated alike.
RetryAction retryAfterError(RetryProgressionManager& manager, const URLRequest& request, const Error& error) {
  if (const auto descriptor = manager.nextRetryDescription(request, &RetryProgression::makeStandardOAuth2Progression)) {
    return {RetryAction::Retry{*descriptor}};
  }
  manager.resetRetryProgression(request);
  return {RetryAction::GiveErrorBack{error}};
}

}  // namespace

LooseRetryPolicy::LooseRetryPolicy(std::shared_ptr<RetryProgressionManager> progressionManager)
    : progressionManager_(std::move(progressionManager)) {}

RetryAction LooseRetryPolicy::resolveRetryAction(const URLRequest& request,
                                                 const NetworkResponse& networkResponse) const {
  const auto error = networkError(networkResponse.statusCode);
  if (error && *error != NetworkError::unauthorized) {
    const auto descriptor =
        progressionManager_->nextRetryDescription(request, [&] { return RetryProgression::make(*error); });
    if (descriptor) return {RetryAction::Retry{*descriptor}};
  }
  progressionManager_->resetRetryProgression(request);
  return {RetryAction::GiveResponseBack{networkResponse}};
}

RetryAction LooseRetryPolicy::resolveRetryAction(const URLRequest& request, const Error& error) const {
  return retryAfterError(*progressionManager_, request, error);
}

OAuth2RetryPolicy::OAuth2RetryPolicy(LooseRetryPolicy looseRetryPolicy,
                                     std::shared_ptr<RetryProgressionManager> progressionManager)
    : looseRetryPolicy_(std::move(looseRetryPolicy)), progressionManager_(std::move(progressionManager)) {}

RetryAction OAuth2RetryPolicy::resolveRetryAction(const URLRequest& request,
                                                  const NetworkResponse& networkResponse) const {
  if (networkError(networkResponse.statusCode) != NetworkError::unauthorized) {
    RetryAction action = looseRetryPolicy_.resolveRetryAction(request, networkResponse);
    // The call is answered, so that the next unauthorized status of an equal request is refreshed again.
    if (std::holds_alternative<RetryAction::GiveResponseBack>(action.outcome)) {
      progressionManager_->resetRetryProgression(request);
    }
    return action;
  }
  const auto descriptor = progressionManager_->nextRetryDescription(
      request, [] { return RetryProgression::make(NetworkError::unauthorized); });
  if (descriptor) return {RetryAction::RefreshCredentialsAndRetry{*descriptor}};
  progressionManager_->resetRetryProgression(request);
  return {RetryAction::GiveResponseBack{networkResponse}};
}

RetryAction OAuth2RetryPolicy::resolveRetryAction(const URLRequest& request, const Error& error) const {
  return retryAfterError(*progressionManager_, request, error);
}

AuthenticationServiceOAuth2RetryPolicy::AuthenticationServiceOAuth2RetryPolicy(
    std::shared_ptr<const RetryPolicy> childRetryPolicy)
    : childRetryPolicy_(std::move(childRetryPolicy)) {}

RetryAction AuthenticationServiceOAuth2RetryPolicy::resolveRetryAction(const URLRequest& request,
                                                                       const NetworkResponse& networkResponse) const {
  if (networkError(networkResponse.statusCode) == NetworkError::unauthorized && networkResponse.body) {
    const auto info = decodeJSON<AuthenticationErrorInfo>(*networkResponse.body);
    if (info && info->message != "user_not_authorized") return {RetryAction::GiveResponseBack{networkResponse}};
  }
  return childRetryPolicy_->resolveRetryAction(request, networkResponse);
}

RetryAction AuthenticationServiceOAuth2RetryPolicy::resolveRetryAction(const URLRequest& request,
                                                                       const Error& error) const {
  return childRetryPolicy_->resolveRetryAction(request, error);
}

}  // namespace lx
