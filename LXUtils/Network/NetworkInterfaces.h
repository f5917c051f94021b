#pragma once

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Network/NetworkResponse.h"
#include "LXUtils/Network/RetryAction.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

/// Prepares a request for sending. Calls back once, with the prepared copy or with the error for which nothing may be
/// sent, on whatever thread it finds the answer. An authorizer that is gone lets go of the callback.
class RequestAuthorizer {
 public:
  virtual ~RequestAuthorizer() = default;
  virtual void authorize(URLRequest request, Completion<URLRequest> callback) = 0;
};

/// Supplies the headers of an authorizer that only adds headers.
class RequestAuthorizerHeadersProvider {
 public:
  virtual ~RequestAuthorizerHeadersProvider() = default;
  virtual HTTPHeaders getHTTPHeaders() const = 0;
  virtual bool hasTrustedDeviceID() const = 0;
  virtual bool hasAuthHeaders() const = 0;
};

/// Decides about each outcome of a request. What it keeps for a request is keyed by the request's identity, held
/// weakly, so that it can be dropped once the call has ended. Any thread.
class RetryPolicy {
 public:
  virtual ~RetryPolicy() = default;
  virtual RetryAction resolveRetryAction(const URLRequest& request, const NetworkResponse& networkResponse) const = 0;
  virtual RetryAction resolveRetryAction(const URLRequest& request, const Error& error) const = 0;
};

/// Sees every outcome of a network service's requests and completes with what the caller is to get, perhaps after
/// sending again. What it completes with is final.
class RequestRetrier {
 public:
  virtual ~RequestRetrier() = default;
  virtual void retryIfNeeded(const QueueRef& queue, URLRequest request, const NetworkResponse& networkResponse,
                             Completion<NetworkResponse> completion) = 0;
  virtual void retryIfNeeded(const QueueRef& queue, URLRequest request, const Error& error,
                             Completion<NetworkResponse> completion) = 0;
};

}  // namespace lx
