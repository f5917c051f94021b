#include "LXTesting/Backend/WorkersInternal.h"

namespace lx::backend {

Workers::~Workers() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_) thread.join();
}

void Workers::submit(std::function<void()> job) {
  const std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
  if (idle_ >= jobs_.size()) {
    wake_.notify_one();
  } else if (threads_.size() < bound_) {
    threads_.emplace_back([this] { run(); });
  }
}

void Workers::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    ++idle_;
    wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
    --idle_;
    if (jobs_.empty()) return;
    auto job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    job();
    job = nullptr;
    lock.lock();
  }
}

}  // namespace lx::backend
