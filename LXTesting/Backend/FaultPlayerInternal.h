#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "LXTesting/Backend/MessagesInternal.h"
#include "LXTesting/Scenario.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx::backend {

/// The faults that are still to come. Thread-safe.
class FaultQueue {
 public:
  explicit FaultQueue(Scenario scenario) : routes_(std::move(scenario.routes)) {}

  void set(Scenario scenario);
  void add(std::string route, Fault fault);

  /// The next fault of the first route that matches, used up by this request.
  std::optional<Fault> take(const ServerRequest& request, std::string_view grant);

 private:
  Protected<std::vector<Scenario::RouteFaults>> routes_;
};

/// The answer that a fault leaves of the route's, which is asked for only where the fault needs it.
ServerResponse faultyResponse(const Fault& fault, const std::function<ServerResponse()>& route);

/// The status that reaches the client, 0 when none does.
int statusOnTheWire(const Fault& fault, const ServerResponse& response);

/// Plays the fault on the wire. Nothing when the answer has been written, or will never be.
std::optional<ServerResponse> deliver(const Fault& fault, ServerResponse response, Wire& wire);

}  // namespace lx::backend
