#include "lx/SignalHold.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <string_view>

#include <unistd.h>

#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx::tool {
namespace {

// The number of holds, or `ending` once a signal is ending the process.
std::atomic<int> holds{0};
constexpr int ending = -1;

std::atomic<int> heldSignal{0};

// Ends the process by the signal if there is no hold. The signal is noted before: either this sees that the last hold
// is gone, or that hold sees the signal.
void endUnlessHeld(int signal) {
  int none = 0;
  if (!holds.compare_exchange_strong(none, ending)) return;
  std::signal(signal, SIG_DFL);
  raise(signal);
}

void handle(int signal) {
  const bool isFirst = heldSignal.exchange(signal) == 0;
  endUnlessHeld(signal);
  if (isFirst && holds > 0) {
    constexpr std::string_view notice = "lx: ends as soon as the new credentials are stored ...\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, notice.data(), notice.size());
  }
}

}  // namespace

void holdSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action{};
    if (sigaction(signal, nullptr, &action) < 0 || action.sa_handler == SIG_IGN) continue;
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

void SignalHold::waitForAll() {
  constexpr std::chrono::minutes longestExchange{1};
  MainQueue::shared()->runUntil([] { return holds <= 0; }, longestExchange);
}

SignalHold::SignalHold() {
  int current = holds;
  while (current == ending || !holds.compare_exchange_weak(current, current + 1)) {
    if (current != ending) continue;
    pause();  // the signal is about to end the process
    current = holds;
  }
}

SignalHold::~SignalHold() {
  --holds;
  if (const int signal = heldSignal) endUnlessHeld(signal);
  MainQueue::shared()->wake();
}

}  // namespace lx::tool
