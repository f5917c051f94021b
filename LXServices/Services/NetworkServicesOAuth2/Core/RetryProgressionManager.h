#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
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
  /// exhausted progression returns `nullopt` until it is reset.
  virtual std::optional<RetryDescriptor> nextRetryDescription(
      const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) = 0;
};

/// Counts a request under its identity, so that callers who send equal requests at once do not spend each other's
/// attempts. A request without identity is counted under its value. Neither is kept alive: the identity is held weakly,
/// the value as a digest. What belongs to a call that has ended is dropped at the next access.
class RetryProgressionManagerImpl final : public RetryProgressionManager {
 public:
  void resetRetryProgression(const URLRequest& request) override;
  std::optional<RetryDescriptor> nextRetryDescription(
      const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) override;

  /// How many requests are being counted, with those whose call has ended since the last access.
  std::size_t size() const;

 private:
  using ValueDigest = std::array<std::byte, 32>;

  struct Entry {
    std::variant<std::weak_ptr<const RequestIdentity>, ValueDigest> key;
    RetryProgression progression;

    bool hasEnded() const;
    // Not for an entry that has ended.
    bool isOf(const URLRequest& request) const;
  };

  static ValueDigest digestOf(const URLRequest& request);

  const QueueRef threadSafeAccessQueue_ = DispatchQueue::makeSerial("RetryCounter sync queue");
  std::atomic<bool> isEmpty_{true};  // spares the queue for nearly all who have nothing to reset
  std::vector<Entry> mapping_;       // only requests that failed and are being retried: few, so looked through
};

}  // namespace lx
