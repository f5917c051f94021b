#pragma once

#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgressionManager.h"
#include "LXUtils/Network/NetworkInterfaces.h"

namespace lx {

/// Retries time-outs, throttling, server errors and transport errors; knows nothing of credentials.
class LooseRetryPolicy final : public RetryPolicy {
 public:
  explicit LooseRetryPolicy(std::shared_ptr<RetryProgressionManager> progressionManager);

  RetryAction resolveRetryAction(const URLRequest& request, const NetworkResponse& networkResponse) const override;
  RetryAction resolveRetryAction(const URLRequest& request, const Error& error) const override;

 private:
  std::shared_ptr<RetryProgressionManager> progressionManager_;
};

/// Answers the first unauthorized status of a request with a refresh and a resend; all else as the loose policy.
class OAuth2RetryPolicy final : public RetryPolicy {
 public:
  /// The progression manager is the policy's own, not that of the loose policy.
  OAuth2RetryPolicy(LooseRetryPolicy looseRetryPolicy, std::shared_ptr<RetryProgressionManager> progressionManager);

  RetryAction resolveRetryAction(const URLRequest& request, const NetworkResponse& networkResponse) const override;
  RetryAction resolveRetryAction(const URLRequest& request, const Error& error) const override;

 private:
  LooseRetryPolicy looseRetryPolicy_;
  std::shared_ptr<RetryProgressionManager> progressionManager_;
};

/// For the sign-in endpoints, where an unauthorized status usually means wrong credentials: only one whose body says
/// "user_not_authorized", or says nothing, is the child policy's business.
class AuthenticationServiceOAuth2RetryPolicy final : public RetryPolicy {
 public:
  explicit AuthenticationServiceOAuth2RetryPolicy(std::shared_ptr<const RetryPolicy> childRetryPolicy);

  RetryAction resolveRetryAction(const URLRequest& request, const NetworkResponse& networkResponse) const override;
  RetryAction resolveRetryAction(const URLRequest& request, const Error& error) const override;

 private:
  std::shared_ptr<const RetryPolicy> childRetryPolicy_;
};

}  // namespace lx
