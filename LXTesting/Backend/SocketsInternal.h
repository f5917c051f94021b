#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include <poll.h>

#include "LXUtils/Foundation/Result.h"

namespace lx::backend {

/// An open descriptor that closes with its owner. All of them are close-on-exec: a child process must not keep a
/// connection of ours open.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  void close();
  /// Closes so that the peer sees a reset instead of an orderly end.
  void reset();

 private:
  int number_ = -1;
};

/// A non-blocking listening socket on 127.0.0.1; port 0 takes any that is free.
Result<Descriptor> listenOnLoopback(std::uint16_t port);
/// The port that a listening socket got.
std::uint16_t boundPort(const Descriptor& socket);
/// The next waiting connection, non-blocking and without Nagle's delay; none when there is none.
Descriptor acceptConnection(const Descriptor& listener);
/// A non-blocking connection to a loopback port, perhaps still under way.
Descriptor connectToLoopback(std::uint16_t port);

/// `poll` that goes on after a signal. True when something is ready; negative milliseconds wait without end.
bool waitForEvents(std::span<pollfd> watched, int milliseconds);

/// An event that stays set: every wait that watches it ends, also those that begin later.
class StopEvent {
 public:
  StopEvent();

  int descriptor() const { return event_.get(); }
  void set();
  /// Makes it unset again.
  void clear();

 private:
  Descriptor event_;
};

}  // namespace lx::backend
