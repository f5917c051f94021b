#include "LXUtils/Network/NetworkServiceImpl.h"

#include <optional>
#include <utility>

namespace lx {

// The identity of a call, which also holds the transfer that is under way for it, and who has to forget it.
class NetworkServiceImpl::Call final : public RequestIdentity {
 public:
  explicit Call(std::shared_ptr<RequestRetrier> retrier) : retrier_(std::move(retrier)) {}

  RequestRetrier* retrier() const { return retrier_.get(); }

  void setTransfer(const Task<NetworkResponse>& transfer) {
    transfer_.withLock([&](auto& current) { current = transfer; });
    // The call may have been cancelled while its request was on the way to the session.
    if (hasEnded()) transfer.cancel();
  }

  void finish() {
    end();
    const auto transfer = transfer_.withLock([](auto& current) { return std::exchange(current, std::nullopt); });
    if (transfer) transfer->cancel();
    if (retrier_) retrier_->callDidEnd(*this);
  }

 private:
  const std::shared_ptr<RequestRetrier> retrier_;
  Protected<std::optional<Task<NetworkResponse>>> transfer_;
};

// Ends the call when its completion has been called or let go of.
class NetworkServiceImpl::CallEnd {
 public:
  explicit CallEnd(std::shared_ptr<Call> call) : call_(std::move(call)) {}
  CallEnd(CallEnd&& other) noexcept = default;
  CallEnd& operator=(CallEnd&&) = delete;
  ~CallEnd() {
    if (call_) call_->finish();
  }

 private:
  std::shared_ptr<Call> call_;  // empty in what was moved from
};

std::shared_ptr<NetworkServiceImpl> NetworkServiceImpl::make(std::shared_ptr<URLSession> session,
                                                             std::shared_ptr<RequestAuthorizer> requestAuthorizer,
                                                             QueueRef delegateQueue, Logger logger) {
  return std::shared_ptr<NetworkServiceImpl>(
      new NetworkServiceImpl(std::move(session), std::move(requestAuthorizer), std::move(delegateQueue), logger));
}

NetworkServiceImpl::NetworkServiceImpl(std::shared_ptr<URLSession> session,
                                       std::shared_ptr<RequestAuthorizer> requestAuthorizer, QueueRef delegateQueue,
                                       Logger logger)
    : session_(std::move(session)),
      requestAuthorizer_(std::move(requestAuthorizer)),
      delegateQueue_(std::move(delegateQueue)),
      logger_(logger) {}

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
  if (dynamic_cast<Call*>(request.identity.get())) return authorizeAndSend(std::move(request), std::move(completion));
  authorizeAndLoad(std::move(request)).finally(std::move(completion));
}

void NetworkServiceImpl::load(URLRequest request, Completion<NetworkResponse> completion) {
  if (dynamic_cast<Call*>(request.identity.get())) return send(std::move(request), std::move(completion));
  load(std::move(request)).finally(std::move(completion));
}

Task<NetworkResponse> NetworkServiceImpl::startCall(URLRequest request, Attempt attempt) {
  const auto call = std::make_shared<Call>(retrier_.withLock([](const auto& current) { return current; }));
  request.identity = call;
  Promise<NetworkResponse> promise;
  const auto task = promise.task();
  promise.onCancel([weak = std::weak_ptr(call)] {
    if (const auto cancelled = weak.lock()) cancelled->finish();
  });
  (this->*attempt)(std::move(request),
                   [end = CallEnd(call), promise = std::move(promise)](Result<NetworkResponse> result) mutable {
                     // Ends before the caller hears of it.
                     {
                       const CallEnd now = std::move(end);
                     }
                     promise.complete(std::move(result));
                   });
  return task;
}

void NetworkServiceImpl::authorizeAndSend(URLRequest request, Completion<NetworkResponse> completion) {
  auto identity = request.identity;
  requestAuthorizer_->authorize(
      std::move(request), [self = weak_from_this(), identity = std::move(identity),
                           completion = std::move(completion)](Result<URLRequest> authorized) mutable {
        const auto alive = self.lock();
        if (!alive) return;
        if (authorized) {
          authorized->identity = std::move(identity);
          return alive->send(*std::move(authorized), std::move(completion));
        }
        alive->logger_.log(1, "A request was not sent for want of an authorization", authorized.error().typeName(),
                           "authorizeAndLoad(request:)");
        alive->delegateQueue_->async([completion = std::move(completion), error = authorized.error()]() mutable {
          completion(fail(std::move(error)));
        });
      });
}

void NetworkServiceImpl::send(URLRequest request, Completion<NetworkResponse> completion) {
  if (request.identity->hasEnded()) return;  // nobody waits any more
  const auto call = std::static_pointer_cast<Call>(request.identity);
  const auto transfer = session_->send(request);
  call->setTransfer(transfer);
  transfer.deliver(
      [weak = weak_from_this(), request = std::move(request),
       completion = std::move(completion)](const Result<NetworkResponse>& outcome) mutable {
        if (const auto self = weak.lock()) self->judge(std::move(request), outcome, std::move(completion));
      },
      delegateQueue_);
}

void NetworkServiceImpl::judge(URLRequest request, const Result<NetworkResponse>& outcome,
                               Completion<NetworkResponse> completion) {
  if (request.identity->hasEnded()) return;
  const auto call = std::static_pointer_cast<Call>(request.identity);
  // A cancelled transfer is no failure of the request, so there is nothing to try again.
  const bool isCancelled = !outcome && outcome.error().is(TaskError::cancelled);
  if (!call->retrier() || isCancelled) return completion(outcome);
  if (outcome) {
    call->retrier()->retryIfNeeded(delegateQueue_, std::move(request), *outcome, std::move(completion));
  } else {
    call->retrier()->retryIfNeeded(delegateQueue_, std::move(request), outcome.error(), std::move(completion));
  }
}

}  // namespace lx
