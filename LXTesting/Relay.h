#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Forwards TCP connections from a loopback port of its own to another one, and breaks them at given bytes. What
/// passes is not looked at: with TLS, offsets count bytes of the TLS records, the handshake included.
///
/// One thread serves all connections; the destructor ends them and joins it, stalled ones included. Thread-safe.
class Relay {
 public:
  enum class Direction { toServer, toClient };

  /// Both sides are closed in good order.
  struct Cut {
    bool operator==(const Cut&) const = default;
  };
  /// Both sides are reset.
  struct Reset {
    bool operator==(const Reset&) const = default;
  };
  /// Nothing passes for this time; without one, until `release`.
  struct Stall {
    std::optional<std::chrono::milliseconds> duration = {};
    bool operator==(const Stall&) const = default;
  };
  /// No more than so many bytes pass in a second, from here on.
  struct Slow {
    std::uint64_t bytesPerSecond = 1;
    bool operator==(const Slow&) const = default;
  };
  /// All bits of one byte are flipped.
  struct Corrupt {
    bool operator==(const Corrupt&) const = default;
  };
  using Effect = std::variant<Cut, Reset, Stall, Slow, Corrupt>;

  struct Rule {
    Effect effect = {};
    Direction direction = Direction::toClient;
    std::uint64_t offset = 0;  ///< of the byte before which it happens, from the connection's begin
    std::optional<std::int64_t> connection =
        {};  ///< the n-th connection from the relay's start, from 1; absent for all
    bool operator==(const Rule&) const = default;
  };

  /// Forwards to `targetPort`; `port` 0 takes any that is free. Fails with DevBackendError.
  static Result<std::unique_ptr<Relay>> start(std::uint16_t targetPort, std::uint16_t port = 0);
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
  ~Relay();

  std::uint16_t port() const;
  /// "127.0.0.1:PORT".
  std::string address() const;

  /// For connections that are accepted from now on.
  void addRule(Rule rule);
  void clearRules();

  /// To every open connection, before its next byte in that direction.
  void disrupt(Effect effect, Direction direction = Direction::toClient);

  /// Ends every stall.
  void release();

  /// How many connections were accepted so far.
  std::int64_t connectionCount() const;
  /// How many of them are open.
  std::int64_t openConnections() const;

 private:
  class Loop;
  explicit Relay(std::unique_ptr<Loop> loop);

  std::unique_ptr<Loop> loop_;
};

}  // namespace lx
