#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace lx::backend {

/// Threads that are started as jobs need them and reused afterwards. A job may block as long as it likes: the next one
/// gets another thread, up to the bound; beyond it, jobs wait.
class Workers {
 public:
  explicit Workers(std::size_t bound) : bound_(bound) {}
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  ~Workers();

  void submit(std::function<void()> job);

 private:
  void run();

  const std::size_t bound_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool stopping_ = false;
};

}  // namespace lx::backend
