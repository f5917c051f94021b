#pragma once

#include <chrono>
#include <variant>

#include "LXUtils/Foundation/Error.h"
#include "LXUtils/Network/NetworkResponse.h"

namespace lx {

/// One further attempt.
struct RetryDescriptor {
  int attempt = 0;   ///< counted from 1
  double delay = 0;  ///< seconds to wait before it

  bool operator==(const RetryDescriptor&) const = default;
};

/// What is to be done about the outcome of a request.
struct RetryAction {
  struct RefreshCredentialsAndRetry {
    RetryDescriptor descriptor;
  };
  struct Retry {
    RetryDescriptor descriptor;
  };
  struct GiveResponseBack {
    NetworkResponse response;
  };
  struct GiveErrorBack {
    Error error;
  };

  std::variant<RefreshCredentialsAndRetry, Retry, GiveResponseBack, GiveErrorBack> outcome;
};

}  // namespace lx
