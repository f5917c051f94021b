#include "LXUtils/Concurrency/TaskState.h"

#include "LXUtils/Concurrency/RuntimeInternal.h"

namespace lx::detail {

// Never destroyed: tasks that end with the process may still be cancelled.
const Error& cancellation() {
  static const auto& error = *new Error(TaskError::cancelled);
  return error;
}

namespace {

// Made while there is memory.
[[maybe_unused]] const Error& madeEarly = cancellation();

}  // namespace

ContinuationNesting& ContinuationNesting::ofThisThread() {
  static thread_local ContinuationNesting nesting;
  return nesting;
}

void ContinuationNesting::logException() noexcept { logCurrentException(); }

void ContinuationNesting::runDeferred() noexcept {
  while (!deferred_.empty()) {
    auto works = std::exchange(deferred_, {});
    for (auto& work : works) contain(work);
  }
}

ContinuationNesting::Wait::Wait() : outerDepth_(std::exchange(ofThisThread().depth_, 0)) {
  ofThisThread().runDeferred();
}

}  // namespace lx::detail
