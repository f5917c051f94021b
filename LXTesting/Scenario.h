#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "LXTesting/Relay.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Something that goes wrong with one answer of the development backend.
struct Fault {
  /// The ordinary answer; for a fault that is nothing but a delay.
  struct Answer {
    bool operator==(const Answer&) const = default;
  };
  /// This answer instead of the route's; the route does not run.
  struct Status {
    int status = 500;
    std::string body = {};
    std::string contentType = "application/json; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> headers = {};
    bool operator==(const Status&) const = default;
  };
  /// The connection is reset before an answer. `processed`: the route has run, a rotated token is lost with the answer.
  struct Drop {
    bool processed = false;
    bool operator==(const Drop&) const = default;
  };
  /// The connection is reset after so many bytes of the body.
  struct DropInBody {
    std::size_t bytes = 0;
    bool operator==(const DropInBody&) const = default;
  };
  /// The whole body arrives and the connection is closed in good order, but Content-Length promised so many bytes more.
  struct Truncated {
    std::size_t missing = 1;
    bool operator==(const Truncated&) const = default;
  };
  /// The body drips, so many bytes at a time.
  struct Slow {
    std::size_t bytes = 1;
    std::chrono::milliseconds interval{10};
    bool operator==(const Slow&) const = default;
  };
  /// These bytes instead of HTTP, then the end of the connection.
  struct Garbage {
    std::string bytes = {};
    bool operator==(const Garbage&) const = default;
  };
  /// A 200 whose body has so many bytes, all of them blanks.
  struct Oversized {
    std::size_t bytes = 0;
    bool chunked = false;  ///< without Content-Length
    bool operator==(const Oversized&) const = default;
  };
  /// In the JSON body the value at this path ("token_response.expires_in") has another type.
  struct WrongType {
    std::string field = {};
    bool operator==(const WrongType&) const = default;
  };
  /// The JSON body lacks these paths.
  struct MissingFields {
    std::vector<std::string> fields = {};
    bool operator==(const MissingFields&) const = default;
  };
  /// The body is text that no JSON parser takes.
  struct NotJSON {
    bool operator==(const NotJSON&) const = default;
  };
  struct EmptyBody {
    bool operator==(const EmptyBody&) const = default;
  };

  using Effect = std::variant<Answer, Status, Drop, DropInBody, Truncated, Slow, Garbage, Oversized, WrongType,
                              MissingFields, NotJSON, EmptyBody>;

  Effect effect = {};
  std::chrono::milliseconds delay{0};      ///< before anything is sent
  std::chrono::milliseconds bodyDelay{0};  ///< between head and body
  std::optional<std::int64_t> count = 1;   ///< how many requests it meets; absent for all to come

  bool operator==(const Fault&) const = default;
};

/// The name of a fault's effect, as scenario files spell it: "dropInBody".
std::string_view kind(const Fault& fault);

/// What is wrong with a scenario file.
struct ScenarioError {
  std::string path;  ///< where: `routes["/v3/user"][0].status`
  std::string message;

  std::string typeName() const { return "ScenarioError.invalid"; }
  std::string description() const { return path.empty() ? message : path + ": " + message; }
  bool operator==(const ScenarioError&) const = default;
};

/// The faults of a development backend.
struct Scenario {
  /// Faults of one route, met by its requests one after the other.
  struct RouteFaults {
    /// "[METHOD ]PATH[ GRANT]": method and grant type match all where absent, a path that ends in "*" its beginning.
    std::string route = {};
    std::vector<Fault> faults = {};
    bool operator==(const RouteFaults&) const = default;
  };

  std::vector<RouteFaults> routes = {};
  /// Rules of the relay. With any, the backend's address is that of a relay in front of it.
  std::vector<Relay::Rule> connections = {};

  /// Reads
  /// `{"routes": {"POST /v3/logout": [{"fault": "status", "status": 503, "count": 2}, {"fault": "drop"}]},
  ///   "connections": [{"effect": "cut", "direction": "toClient", "offset": 100, "connection": 1}]}`.
  /// The keys of a fault are its fields, durations in milliseconds; "count" may be "all"; the body of a status may be
  /// text or JSON. Unknown keys are errors (ScenarioError), so that a slip of the pen does not pass for a quiet server.
  static Result<Scenario> parse(std::string_view text);

  bool operator==(const Scenario&) const = default;
};

}  // namespace lx
