#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "LXTesting/Backend/SocketsInternal.h"
#include "LXTesting/Relay.h"
#include "LXUtils/Foundation/Clock.h"

namespace lx::backend {

/// One direction of a relayed connection: what was read and not yet written, and the rules that are still to come.
class RelayChannel {
 public:
  enum class Verdict { goOn, cut, reset };

  /// Rules whose offset is in the past happen before the next byte.
  void addRule(const Relay::Rule& rule);
  std::uint64_t offset() const { return offset_; }

  /// Moves as much as sockets and rules allow. Stays below its buffer's bound.
  Verdict move(const Descriptor& source, const Descriptor& target, Clock::SteadyTime now);

  /// Ends a stall.
  void release();

  bool wantsToRead() const;
  bool wantsToWrite(Clock::SteadyTime now) const;
  /// When a stall or the pace lets something through again; none while nothing waits for time.
  std::optional<Clock::SteadyTime> nextTurn(Clock::SteadyTime now) const;
  /// The source has ended, and the target knows.
  bool isFinished() const { return endPassedOn_; }

 private:
  Verdict apply(Clock::SteadyTime now);
  bool isHeld(Clock::SteadyTime now) const { return heldForever_ || (heldUntil_ && *heldUntil_ > now); }
  std::size_t allowance(Clock::SteadyTime now) const;
  Verdict read(const Descriptor& source);
  Verdict write(const Descriptor& target, Clock::SteadyTime now);

  std::vector<Relay::Rule> rules_;  ///< by offset
  std::string pending_;
  std::uint64_t offset_ = 0;  ///< of the first pending byte
  bool sourceEnded_ = false;
  bool endPassedOn_ = false;
  bool heldForever_ = false;
  std::optional<Clock::SteadyTime> heldUntil_;
  std::uint64_t bytesPerSecond_ = 0;  ///< 0 without a pace
  Clock::SteadyTime paceStart_;
  std::uint64_t pacedBytes_ = 0;
};

}  // namespace lx::backend
