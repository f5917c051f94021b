#include "LXUtils/Concurrency/TaskState.h"

namespace lx::detail {

ContinuationNesting& ContinuationNesting::ofThisThread() {
  static thread_local ContinuationNesting nesting;
  return nesting;
}

}  // namespace lx::detail
