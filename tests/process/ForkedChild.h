#pragma once

#include <csignal>
#include <cstdio>

#include <sys/prctl.h>
#include <sys/types.h>
#include <unistd.h>

namespace lx {

inline bool isForkedChild = false;

/// As `fork`, for a process that goes on to use the library.
inline pid_t forkProbe() {
  flockfile(stdout);  // another thread may be about to empty the buffer, which the child would print again
  const pid_t child = fork();
  funlockfile(stdout);
  isForkedChild = child == 0;
  if (isForkedChild) prctl(PR_SET_PDEATHSIG, SIGKILL);  // one that hangs goes with the test
  return child;
}

}  // namespace lx

// Asked by the leak checker of the sanitizers. In a forked child it finds none of the parent's threads, and takes what
// only they refer to for lost.
extern "C" [[gnu::used]] inline int __lsan_is_turned_off() { return lx::isForkedChild ? 1 : 0; }
