#pragma once

#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Network/NetworkInterfaces.h"
#include "LXUtils/Network/NetworkResponseAnalysis.h"

namespace lx {

/// Prepares, sends and retries requests. A response of any status is a value here: turn a failing one into an error
/// with analyzeNetworkResponse. Tasks complete on the service's delegate queue.
class NetworkService {
 public:
  virtual ~NetworkService() = default;

  /// Authorises the request as it is for this service, then sends it. An authorization that fails is the task's error:
  /// nothing was sent.
  virtual Task<NetworkResponse> authorizeAndLoad(URLRequest request) = 0;

  /// Sends the request as it is.
  virtual Task<NetworkResponse> load(URLRequest request) = 0;

  /// The same for a further attempt of a call that is under way; a request without identity starts a call of its own.
  virtual void authorizeAndLoad(URLRequest request, Completion<NetworkResponse> completion) = 0;
  virtual void load(URLRequest request, Completion<NetworkResponse> completion) = 0;

  /// Fails for a status outside 200 to 299, a missing body and a body that is not the JSON of a T.
  template <class T>
  Task<T> authorizeAndLoadJSON(URLRequest request) {
    return authorizeAndLoadBody(std::move(request)).decode(decodeJSONBody<T>);
  }

  /// Fails for a status outside 200 to 299; the body does not matter.
  Task<void> authorizeAndLoadVoid(URLRequest request);

 private:
  Task<Data> authorizeAndLoadBody(URLRequest request);
};

}  // namespace lx
