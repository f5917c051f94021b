#pragma once

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkServiceError.h"

namespace lx {

/// The error body of the sign-in endpoints.
struct AuthenticationErrorInfo final : NetworkServiceServerErrorInfo {
  std::string message;

  std::string errorDescriptionDetails() const override { return "{ message: " + message + " }"; }
};

template <>
struct Coding<AuthenticationErrorInfo> {
  static constexpr auto fields = std::tuple{field("message", &AuthenticationErrorInfo::message)};
};

}  // namespace lx
