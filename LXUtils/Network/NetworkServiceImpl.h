#pragma once

#include <memory>
#include <unordered_map>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/NetworkService.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

class ForkMark;

/// Sends requests through a session, prepared by an authorizer and judged by a retrier.
///
/// A call is everything from the caller's request to its answer. The service gives its copy of the request an identity
/// that all attempts share, and asks the retrier that was set when the call started. When a call ends, its transfer is
/// cancelled and nothing more is sent for it. The session's `callTimeout` bounds the call as a whole. In a forked
/// child, calls of a service that it inherited fail at once with RuntimeError. Sessions and authorizers answer on any
/// thread; the retrier is asked, and the caller answered, on the delegate queue.
class NetworkServiceImpl final : public NetworkService, public std::enable_shared_from_this<NetworkServiceImpl> {
 public:
  static std::shared_ptr<NetworkServiceImpl> make(std::shared_ptr<URLSession> session,
                                                  std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                                                  QueueRef delegateQueue, Logger logger,
                                                  std::shared_ptr<Clock> clock = Clock::system());

  ~NetworkServiceImpl() override;

  /// The service owns its retrier, which refers to the service weakly.
  void setRequestRetrier(std::shared_ptr<RequestRetrier> retrier);

  Task<NetworkResponse> authorizeAndLoad(URLRequest request) override;
  Task<NetworkResponse> load(URLRequest request) override;
  void authorizeAndLoad(URLRequest request, Completion<NetworkResponse> completion) override;
  void load(URLRequest request, Completion<NetworkResponse> completion) override;

 private:
  class Call;
  using CallRef = std::shared_ptr<Call>;
  using Calls = Protected<std::unordered_map<const RequestIdentity*, std::weak_ptr<Call>>>;
  using Attempt = void (NetworkServiceImpl::*)(const CallRef&, URLRequest, Completion<NetworkResponse>);

  NetworkServiceImpl(std::shared_ptr<URLSession> session, std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                     QueueRef delegateQueue, Logger logger, std::shared_ptr<Clock> clock);

  Task<NetworkResponse> startCall(URLRequest request, Attempt attempt);
  void continueCall(URLRequest request, Completion<NetworkResponse> completion, Attempt attempt);
  void authorizeAndSend(const CallRef& call, URLRequest request, Completion<NetworkResponse> completion);
  void send(const CallRef& call, URLRequest request, Completion<NetworkResponse> completion);
  void judge(const CallRef& call, URLRequest request, const Result<NetworkResponse>& outcome,
             Completion<NetworkResponse> completion);

  const std::shared_ptr<URLSession> session_;
  const std::shared_ptr<RequestAuthorizer> requestAuthorizer_;
  const QueueRef delegateQueue_;
  const Logger logger_;
  const std::shared_ptr<Clock> clock_;
  const std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();  // those that have not ended
  Protected<std::shared_ptr<RequestRetrier>> retrier_;
  const std::unique_ptr<const ForkMark> forkMark_;
};

}  // namespace lx
