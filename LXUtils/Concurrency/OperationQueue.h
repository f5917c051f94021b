#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Concurrency/Task.h"

namespace lx {

/// The queue of the app's main thread. A library must not take that thread: the app (or a tool, or a test) pumps the
/// queue, from one thread at a time, and nothing queued here runs while nobody does.
class MainQueue final : public DispatchQueue {
 public:
  MainQueue();
  ~MainQueue() override;

  /// The process's main queue.
  static const std::shared_ptr<MainQueue>& shared();

  void async(Work work) override;

  /// Within the queue's own work, runs `work` at once; elsewhere, waits until the pumping thread has run it. The thread
  /// that pumps must therefore not call it outside of the queue's work.
  void sync(const std::function<void()>& work) override;

  const std::string& label() const override;

  /// Runs what is queued, and what that queues, until nothing is left; never waits. Returns how many pieces ran.
  std::size_t drain();

  /// Pumps until `stop` is called.
  void run();
  void stop();

  /// Pumps until `task` has completed and returns its result.
  template <class T>
  Result<T> runUntil(const Task<T>& task) {
    const auto done = std::make_shared<std::atomic<bool>>(false);
    task.finally([this, done](const Result<T>&) {
      *done = true;
      wake();
    });
    pumpUntil(*done);
    return *task.result();
  }

  /// Pumps until `done` holds or `timeout` (of real time) has passed; returns whether it holds. `done` is looked at
  /// after each piece of work and whenever `wake` is called.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);
  void wake();

 private:
  struct State;

  void pumpUntil(const std::atomic<bool>& done);

  const std::unique_ptr<State> state_;
};

/// Where operations of the system's own vocabulary run.
struct OperationQueue {
  static QueueRef main() { return MainQueue::shared(); }
};

}  // namespace lx
