#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/socket.h>

#include "LXTesting/Backend/RelayChannelInternal.h"
#include "LXUtils/Foundation/Overloaded.h"

namespace lx::backend {

namespace {

constexpr std::size_t bufferBound = std::size_t{64} * 1024;

bool wouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

void RelayChannel::addRule(const Relay::Rule& rule) {
  const auto after = std::ranges::upper_bound(rules_, rule.offset, {}, &Relay::Rule::offset);
  rules_.insert(after, rule);
}

void RelayChannel::release() {
  heldForever_ = false;
  heldUntil_.reset();
}

bool RelayChannel::wantsToRead() const { return !sourceEnded_ && pending_.size() < bufferBound; }

bool RelayChannel::wantsToWrite(Clock::SteadyTime now) const {
  return !pending_.empty() && !isHeld(now) && allowance(now) > 0;
}

std::optional<Clock::SteadyTime> RelayChannel::nextTurn(Clock::SteadyTime now) const {
  if (isHeld(now)) return heldForever_ ? std::nullopt : heldUntil_;
  if (pending_.empty() || bytesPerSecond_ == 0) return std::nullopt;
  return paceStart_ + std::chrono::nanoseconds(std::chrono::seconds(1)) * static_cast<std::int64_t>(pacedBytes_ + 1) /
                          static_cast<std::int64_t>(bytesPerSecond_);
}

/// How many bytes may pass now by the pace.
std::size_t RelayChannel::allowance(Clock::SteadyTime now) const {
  if (bytesPerSecond_ == 0) return bufferBound;
  const auto seconds = std::chrono::duration<double>(now - paceStart_).count();
  const auto due = static_cast<std::uint64_t>(seconds * static_cast<double>(bytesPerSecond_));
  return static_cast<std::size_t>(due > pacedBytes_ ? due - pacedBytes_ : 0);
}

/// Applies the rules that are due at the current offset. Corrupting needs its byte to be there.
RelayChannel::Verdict RelayChannel::apply(Clock::SteadyTime now) {
  while (!rules_.empty() && rules_.front().offset <= offset_ && !isHeld(now)) {
    const auto effect = rules_.front().effect;
    if (std::holds_alternative<Relay::Corrupt>(effect) && pending_.empty()) break;
    rules_.erase(rules_.begin());
    const auto verdict = std::visit(Overloaded{
                                        [](Relay::Cut) { return Verdict::cut; },
                                        [](Relay::Reset) { return Verdict::reset; },
                                        [&](Relay::Stall stall) {
                                          heldForever_ = !stall.duration;
                                          if (stall.duration) heldUntil_ = now + *stall.duration;
                                          return Verdict::goOn;
                                        },
                                        [&](Relay::Slow slow) {
                                          bytesPerSecond_ = slow.bytesPerSecond;
                                          paceStart_ = now;
                                          pacedBytes_ = 0;
                                          return Verdict::goOn;
                                        },
                                        [&](Relay::Corrupt) {
                                          pending_.front() = static_cast<char>(~pending_.front());
                                          return Verdict::goOn;
                                        },
                                    },
                                    effect);
    if (verdict != Verdict::goOn) return verdict;
  }
  return Verdict::goOn;
}

RelayChannel::Verdict RelayChannel::move(const Descriptor& source, const Descriptor& target, Clock::SteadyTime now) {
  if (const auto verdict = read(source); verdict != Verdict::goOn) return verdict;
  return write(target, now);
}

RelayChannel::Verdict RelayChannel::read(const Descriptor& source) {
  std::array<char, std::size_t{16} * 1024> chunk;
  while (wantsToRead()) {
    const auto count = ::recv(source.get(), chunk.data(), chunk.size(), 0);
    if (count < 0) return wouldBlock() || errno == ENOTCONN ? Verdict::goOn : Verdict::reset;
    if (count == 0) {
      sourceEnded_ = true;
    } else {
      pending_.append(chunk.data(), static_cast<std::size_t>(count));
    }
  }
  return Verdict::goOn;
}

RelayChannel::Verdict RelayChannel::write(const Descriptor& target, Clock::SteadyTime now) {
  while (true) {
    if (const auto verdict = apply(now); verdict != Verdict::goOn) return verdict;
    if (!wantsToWrite(now)) break;
    auto size = std::min(pending_.size(), allowance(now));
    if (!rules_.empty())
      size = static_cast<std::size_t>(std::min<std::uint64_t>(size, rules_.front().offset - offset_));
    const auto count = ::send(target.get(), pending_.data(), size, MSG_NOSIGNAL);
    if (count < 0) return wouldBlock() || errno == ENOTCONN ? Verdict::goOn : Verdict::reset;
    pending_.erase(0, static_cast<std::size_t>(count));
    offset_ += static_cast<std::uint64_t>(count);
    pacedBytes_ += static_cast<std::uint64_t>(count);
  }
  if (sourceEnded_ && pending_.empty() && !isHeld(now) && !endPassedOn_) {
    ::shutdown(target.get(), SHUT_WR);
    endPassedOn_ = true;
  }
  return Verdict::goOn;
}

}  // namespace lx::backend
