#pragma once

#include <functional>
#include <memory>
#include <string>

namespace lx {

enum class QualityOfService { utility, default_, userInitiated };

/// Runs pieces of work one after the other, in the order in which they were enqueued.
class DispatchQueue {
 public:
  using Work = std::move_only_function<void()>;

  virtual ~DispatchQueue() = default;

  /// Enqueues `work` and returns. Work that is still queued when the queue goes away is destroyed, not run.
  virtual void async(Work work) = 0;

  /// Runs `work` on the calling thread as soon as all earlier work is done and the queue is free, and returns after it.
  /// On a thread that already runs this queue's work, it runs at once.
  virtual void sync(const std::function<void()>& work) = 0;

  virtual const std::string& label() const = 0;

  /// A serial queue on the two worker threads that all serial queues share. `qualityOfService` is a hint.
  static std::shared_ptr<DispatchQueue> makeSerial(std::string label,
                                                   QualityOfService qualityOfService = QualityOfService::default_);
};

using QueueRef = std::shared_ptr<DispatchQueue>;

}  // namespace lx
