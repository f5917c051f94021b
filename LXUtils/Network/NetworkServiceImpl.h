#pragma once

#include <memory>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/NetworkService.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// Sends requests through a session, prepared by an authorizer and judged by a retrier.
///
/// A call is everything from the caller's request to its answer: the service gives its copy of the request an identity
/// that all attempts share, and asks the retrier that is set then. When a call ends, however it does, its transfer ends
/// with it, nothing more is sent for it, and the retrier forgets it. Sessions and authorizers answer on any thread; the
/// retrier is asked, and the caller answered, on the delegate queue.
class NetworkServiceImpl final : public NetworkService, public std::enable_shared_from_this<NetworkServiceImpl> {
 public:
  static std::shared_ptr<NetworkServiceImpl> make(std::shared_ptr<URLSession> session,
                                                  std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                                                  QueueRef delegateQueue, Logger logger);

  /// The service owns its retrier, which refers to the service weakly.
  void setRequestRetrier(std::shared_ptr<RequestRetrier> retrier);

  Task<NetworkResponse> authorizeAndLoad(URLRequest request) override;
  Task<NetworkResponse> load(URLRequest request) override;
  void authorizeAndLoad(URLRequest request, Completion<NetworkResponse> completion) override;
  void load(URLRequest request, Completion<NetworkResponse> completion) override;

 private:
  class Call;
  using Attempt = void (NetworkServiceImpl::*)(URLRequest, Completion<NetworkResponse>);

  NetworkServiceImpl(std::shared_ptr<URLSession> session, std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                     QueueRef delegateQueue, Logger logger);

  class CallEnd;

  Task<NetworkResponse> startCall(URLRequest request, Attempt attempt);
  void authorizeAndSend(URLRequest request, Completion<NetworkResponse> completion);
  void send(URLRequest request, Completion<NetworkResponse> completion);
  void judge(URLRequest request, const Result<NetworkResponse>& outcome, Completion<NetworkResponse> completion);

  const std::shared_ptr<URLSession> session_;
  const std::shared_ptr<RequestAuthorizer> requestAuthorizer_;
  const QueueRef delegateQueue_;
  const Logger logger_;
  Protected<std::shared_ptr<RequestRetrier>> retrier_;
};

}  // namespace lx
