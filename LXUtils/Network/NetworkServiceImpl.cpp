#include "LXUtils/Network/NetworkServiceImpl.h"

#include <optional>
#include <utility>

#include "LXUtils/Concurrency/ForkInternal.h"
#include "LXUtils/Concurrency/RuntimeError.h"

namespace lx {

// A call that has not been answered, with the transfer that is under way for it.
class NetworkServiceImpl::Call {
 public:
  Call(std::shared_ptr<RequestRetrier> requestRetrier, std::shared_ptr<Calls> calls)
      : retrier(std::move(requestRetrier)), calls_(std::move(calls)) {}

  Task<NetworkResponse> task() const { return promise_.task(); }
  void onCancel(std::move_only_function<void()> handler) { promise_.onCancel(std::move(handler)); }

  void setTransfer(Task<NetworkResponse> transfer) {
    running_.withLock([&](Running& running) { running.transfer = transfer; });
    // The call may have been cancelled while its request was on the way to the session.
    if (identity->hasEnded()) transfer.cancel();
  }

  void setTimer(Timer timer) {
    running_.withLock([&](Running& running) { running.timer = std::move(timer); });
  }

  // Ends the call, then answers its caller. Has no effect on a call that has ended.
  void complete(Result<NetworkResponse> result) {
    if (!identity->end()) return;
    calls_->withLock([&](auto& calls) { calls.erase(identity.get()); });
    auto running = running_.withLock([](Running& current) { return std::exchange(current, {}); });
    if (running.transfer) running.transfer->cancel();
    running.timer.cancel();
    promise_.complete(std::move(result));
  }

  const std::shared_ptr<RequestIdentity> identity = std::make_shared<RequestIdentity>();
  const std::shared_ptr<RequestRetrier> retrier;

 private:
  struct Running {
    std::optional<Task<NetworkResponse>> transfer;
    Timer timer;
  };

  const std::shared_ptr<Calls> calls_;
  Protected<Running> running_;
  Promise<NetworkResponse> promise_;
};

std::shared_ptr<NetworkServiceImpl> NetworkServiceImpl::make(std::shared_ptr<URLSession> session,
                                                             std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                                                             QueueRef delegateQueue, Logger logger,
                                                             std::shared_ptr<Clock> clock) {
  return std::shared_ptr<NetworkServiceImpl>(new NetworkServiceImpl(
      std::move(session), std::move(requestAuthorizer), std::move(delegateQueue), logger, std::move(clock)));
}

NetworkServiceImpl::NetworkServiceImpl(std::shared_ptr<URLSession> session,
                                       std::shared_ptr<RequestAuthorizer> requestAuthorizer, QueueRef delegateQueue,
                                       Logger logger, std::shared_ptr<Clock> clock)
    : session_(std::move(session)),
      requestAuthorizer_(std::move(requestAuthorizer)),
      delegateQueue_(std::move(delegateQueue)),
      logger_(logger),
      clock_(std::move(clock)),
      forkMark_(std::make_unique<const ForkMark>()) {}

NetworkServiceImpl::~NetworkServiceImpl() = default;

void NetworkServiceImpl::setRequestRetrier(std::shared_ptr<RequestRetrier> retrier) {
  retrier_.withLock([&](auto& current) { current.swap(retrier); });
}

Task<NetworkResponse> NetworkServiceImpl::authorizeAndLoad(URLRequest request) {
  return startCall(std::move(request), &NetworkServiceImpl::authorizeAndSend);
}

Task<NetworkResponse> NetworkServiceImpl::load(URLRequest request) {
  return startCall(std::move(request), &NetworkServiceImpl::send);
}

void NetworkServiceImpl::authorizeAndLoad(URLRequest request, Completion<NetworkResponse> completion) {
  continueCall(std::move(request), std::move(completion), &NetworkServiceImpl::authorizeAndSend);
}

void NetworkServiceImpl::load(URLRequest request, Completion<NetworkResponse> completion) {
  continueCall(std::move(request), std::move(completion), &NetworkServiceImpl::send);
}

Task<NetworkResponse> NetworkServiceImpl::startCall(URLRequest request, Attempt attempt) {
  // Destroyed without being called, the completion of the last attempt ends the call as cancelled.
  class Ending {
   public:
    explicit Ending(CallRef call) : call_(std::move(call)) {}
    Ending(Ending&&) noexcept = default;
    Ending& operator=(Ending&&) = delete;
    ~Ending() {
      if (call_) call_->complete(fail(TaskError::cancelled));
    }
    void operator()(Result<NetworkResponse> result) { call_->complete(std::move(result)); }

   private:
    CallRef call_;  // null in what was moved from
  };

  // Before any lock, which another thread of the parent may have held.
  if (forkMark_->isInherited()) {
    return Task<NetworkResponse>::failure(RuntimeError{RuntimeError::Kind::forked, {}});
  }
  const auto call = std::make_shared<Call>(retrier_.withLock([](const auto& current) { return current; }), calls_);
  calls_->withLock([&](auto& calls) { calls.emplace(call->identity.get(), call); });
  request.identity = call->identity;
  auto task = call->task();
  call->onCancel([weak = std::weak_ptr(call)] {
    if (const auto cancelled = weak.lock()) cancelled->complete(fail(TaskError::cancelled));
  });
  // A request with a time-out of its own is not cut short: it may spend a token that is good once.
  if (const auto timeout = request.timeout ? std::nullopt : session_->callTimeout()) {
    call->setTimer(clock_->after(*timeout, delegateQueue_, [weak = std::weak_ptr(call)] {
      const auto late = weak.lock();
      if (late) late->complete(fail(URLSessionError{URLSessionError::Kind::timedOut, "the bound of the whole call"}));
    }));
  }
  (this->*attempt)(call, std::move(request), Ending(call));
  return task;
}

// A further attempt of a call of this service. The request of another starts a call of its own.
void NetworkServiceImpl::continueCall(URLRequest request, Completion<NetworkResponse> completion, Attempt attempt) {
  const auto call = calls_->withLock([&](const auto& calls) {
    const auto found = calls.find(request.identity.get());
    return found == calls.end() ? nullptr : found->second.lock();
  });
  if (call) return (this->*attempt)(call, std::move(request), std::move(completion));
  if (request.identity && request.identity->hasEnded()) return;
  startCall(std::move(request), attempt).finally(std::move(completion));
}

void NetworkServiceImpl::authorizeAndSend(const CallRef& call, URLRequest request,
                                          Completion<NetworkResponse> completion) {
  requestAuthorizer_->authorize(std::move(request), [self = weak_from_this(), call, completion = std::move(completion)](
                                                        Result<URLRequest> authorized) mutable {
    const auto alive = self.lock();
    if (!alive) return;
    if (authorized) {
      authorized->identity = call->identity;  // an authorizer may return a request of its own
      return alive->send(call, *std::move(authorized), std::move(completion));
    }
    alive->logger_.log(1, "A request was not sent for want of an authorization", authorized.error().typeName(),
                       "authorizeAndLoad(request:)");
    alive->delegateQueue_->async([completion = std::move(completion), error = authorized.error()]() mutable {
      completion(fail(std::move(error)));
    });
  });
}

void NetworkServiceImpl::send(const CallRef& call, URLRequest request, Completion<NetworkResponse> completion) {
  if (call->identity->hasEnded()) return;
  const auto transfer = session_->send(request);
  call->setTransfer(transfer);
  transfer.deliver(
      [weak = weak_from_this(), call, request = std::move(request),
       completion = std::move(completion)](const Result<NetworkResponse>& outcome) mutable {
        if (const auto self = weak.lock()) self->judge(call, std::move(request), outcome, std::move(completion));
      },
      delegateQueue_);
}

void NetworkServiceImpl::judge(const CallRef& call, URLRequest request, const Result<NetworkResponse>& outcome,
                               Completion<NetworkResponse> completion) {
  if (call->identity->hasEnded()) return;
  // A cancelled transfer is no failure of the request, so there is nothing to try again. Without threads, no timer
  // would end the delay before the next attempt.
  const bool isFinal = !outcome && (outcome.error().is(TaskError::cancelled) || outcome.error().as<RuntimeError>());
  if (!call->retrier || isFinal) return completion(outcome);
  if (outcome) {
    call->retrier->retryIfNeeded(delegateQueue_, std::move(request), *outcome, std::move(completion));
  } else {
    call->retrier->retryIfNeeded(delegateQueue_, std::move(request), outcome.error(), std::move(completion));
  }
}

}  // namespace lx
