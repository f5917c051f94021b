#pragma once

#include <optional>
#include <string>
#include <utility>

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkServiceError.h"

namespace lx {

/// The error body of the token endpoint.
struct TokenRefreshErrorInfo final : NetworkServiceServerErrorInfo {
  TokenRefreshErrorInfo() = default;
  explicit TokenRefreshErrorInfo(std::optional<std::string> messageText) : message(std::move(messageText)) {}

  /// True when the server refuses the refresh token itself, so that no later attempt can succeed with it.
  bool isInvalidRefreshToken() const { return message == "Invalid refresh token"; }

  std::string errorDescriptionDetails() const override { return message ? "{ message: " + *message + " }" : ""; }
  bool operator==(const TokenRefreshErrorInfo& other) const { return message == other.message; }

  std::optional<std::string> message;
};

template <>
struct Coding<TokenRefreshErrorInfo> {
  static constexpr auto fields = std::tuple{field("message", &TokenRefreshErrorInfo::message)};
};

}  // namespace lx
