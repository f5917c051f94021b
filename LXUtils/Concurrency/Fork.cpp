#include <pthread.h>

#include "LXUtils/Concurrency/ForkInternal.h"

namespace lx {

unsigned forkCount() {
  static std::atomic<unsigned> count{0};
  static const int registered = pthread_atfork(nullptr, nullptr, [] { ++count; });
  static_cast<void>(registered);
  return count.load(std::memory_order_relaxed);
}

}  // namespace lx
