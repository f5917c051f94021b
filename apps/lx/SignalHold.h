#pragma once

namespace lx::tool {

/// From now on SIGINT, SIGTERM and SIGHUP end the process as usual, but not while a `SignalHold` exists: then as soon
/// as the last one is destroyed. Signals that are ignored stay ignored.
void holdSignals();

/// Exists while a pair of tokens is being exchanged and stored: a process that ends in between loses the sign-in.
class SignalHold {
 public:
  /// Pumps the main queue until there is no hold, for as long as an exchange with all its attempts can take.
  static void waitForAll();

  SignalHold();
  ~SignalHold();
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
};

}  // namespace lx::tool
