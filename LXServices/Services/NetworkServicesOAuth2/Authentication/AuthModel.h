#pragma once

#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// A user's identifier and cookie-based tokens, one flat object on the wire.
struct AuthModel {
  std::string userID;
  UserAuthData authData;

  bool operator==(const AuthModel&) const = default;
};

template <>
struct Coding<AuthModel> {
  static constexpr auto fields = std::tuple{
      field("userId", &AuthModel::userID),
      flattened(&AuthModel::authData),
  };
};

}  // namespace lx
