#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgression.h"
#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

/// Counts the attempts of each request. Any thread.
class RetryProgressionManager {
 public:
  virtual ~RetryProgressionManager() = default;

  virtual void resetRetryProgression(const URLRequest& request) = 0;

  /// The request's next attempt, by a progression that the factory makes for a request that is not counted yet. An
  /// exhausted progression gives nothing until it is reset.
  virtual std::optional<RetryDescriptor> nextRetryDescription(
      const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) = 0;

  /// Resets the call of that identity.
  virtual void forget(const RequestIdentity& identity) = 0;
};

/// Counts a request under its identity, or under its value when it has none: callers who send equal requests at once do
/// not spend each other's attempts.
class RetryProgressionManagerImpl final : public RetryProgressionManager {
 public:
  void resetRetryProgression(const URLRequest& request) override;
  std::optional<RetryDescriptor> nextRetryDescription(
      const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) override;
  void forget(const RequestIdentity& identity) override;

  /// How many requests are being counted.
  std::size_t size() const { return size_; }

 private:
  struct Entry {
    URLRequest request;
    RetryProgression progression;

    bool isOf(const URLRequest& other) const;
  };

  template <class Predicate>
  void eraseIf(const Predicate& isMeant);

  const QueueRef threadSafeAccessQueue_ = DispatchQueue::makeSerial("RetryCounter sync queue");
  std::atomic<std::size_t> size_{0};  // tells those who have nothing to reset, nearly all, without the queue
  std::vector<Entry> mapping_;        // only requests that failed and are being retried: few, so looked through
};

}  // namespace lx
