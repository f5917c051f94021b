#pragma once

#include <functional>
#include <memory>
#include <string>

#include "LXUtils/Foundation/Result.h"

namespace lx {

enum class QualityOfService { utility, default_, userInitiated };

/// Runs pieces of work one after the other, in the order in which they were enqueued.
class DispatchQueue {
 public:
  using Work = std::move_only_function<void()>;

  virtual ~DispatchQueue() = default;

  /// Starts the threads that run the queue's work, unless they run or the queue has none. Whoever must not wait for
  /// work that nobody runs asks before enqueueing. Errors: RuntimeError.
  virtual Result<void> ensureRunning() { return {}; }

  /// Enqueues `work` and returns. Work that is still queued when the queue goes away is destroyed, not run.
  ///
  /// If the threads cannot be started, the work stays queued, and each later use of a queue, a session or the system's
  /// clock tries again. In a forked child, work for a serial queue of the parent is destroyed at once. An exception of
  /// `work` is logged.
  virtual void async(Work work) = 0;

  /// Runs `work` on the calling thread as soon as all earlier work is done and the queue is free, and returns after it.
  /// On a thread that already runs this queue's work, it runs at once, as does work for a serial queue of the parent in
  /// a forked child.
  virtual void sync(const std::function<void()>& work) = 0;

  virtual const std::string& label() const = 0;

  /// A serial queue on the two worker threads that all serial queues share. `qualityOfService` is a hint.
  static std::shared_ptr<DispatchQueue> makeSerial(std::string label,
                                                   QualityOfService qualityOfService = QualityOfService::default_);
};

using QueueRef = std::shared_ptr<DispatchQueue>;

}  // namespace lx
