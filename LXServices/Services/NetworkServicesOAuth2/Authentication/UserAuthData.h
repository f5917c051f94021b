#pragma once

#include <concepts>
#include <optional>
#include <string>

#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// A record of the cookie-based sign-in's tokens that can be stored and read again.
template <class T>
concept UserAuthDataProtocol = requires(const T& data) {
  { data.authToken } -> std::convertible_to<std::string>;
  { data.csrfToken } -> std::convertible_to<std::optional<std::string>>;
  { data.policyToken } -> std::convertible_to<std::optional<std::string>>;
  Coding<T>::fields;
};

/// The tokens of the older, cookie-based sign-in.
struct UserAuthData {
  std::string authToken;
  std::optional<std::string> csrfToken;
  std::optional<std::string> policyToken;

  /// An empty auth token and nothing else.
  static const UserAuthData empty;

  bool operator==(const UserAuthData&) const = default;
};

inline const UserAuthData UserAuthData::empty{};

template <>
struct Coding<UserAuthData> {
  static constexpr auto fields = std::tuple{
      field("authToken", &UserAuthData::authToken),
      field("csrfToken", &UserAuthData::csrfToken),
      field("policyToken", &UserAuthData::policyToken),
  };
};

static_assert(UserAuthDataProtocol<UserAuthData>);

}  // namespace lx
