#pragma once

#include <optional>
#include <string>
#include <utility>

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkServiceError.h"

namespace lx {

/// The error body of the auth endpoints.
struct AuthServerErrorInfo final : NetworkServiceServerErrorInfo {
  AuthServerErrorInfo() = default;
  explicit AuthServerErrorInfo(std::string reasonText) : reason(std::move(reasonText)) {}

  std::string errorDescriptionDetails() const override { return "{ error: " + reason + " }"; }
  bool operator==(const AuthServerErrorInfo& other) const { return reason == other.reason; }

  std::string reason;
};

template <>
struct Coding<AuthServerErrorInfo> {
  static constexpr auto fields = std::tuple{field("error", &AuthServerErrorInfo::reason)};
};

/// Why the backend blocks an account; the server may add reasons.
struct AuthBlockReason {
  std::string rawValue;

  static const AuthBlockReason clientPolicyViolation;
  static const AuthBlockReason standWithUkraine;

  bool operator==(const AuthBlockReason&) const = default;
};

inline const AuthBlockReason AuthBlockReason::clientPolicyViolation{"client_policy_violation"};
inline const AuthBlockReason AuthBlockReason::standWithUkraine{"stand_with_ukraine"};

/// The reason that an auth endpoint gave with a 403; nothing for any other error.
std::optional<AuthBlockReason> blockReason(const NetworkServiceError& error);

}  // namespace lx
