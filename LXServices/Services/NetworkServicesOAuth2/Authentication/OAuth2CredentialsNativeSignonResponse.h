#pragma once

#include <array>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsResponse.h"
#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// What the backend did with a native sign-on.
enum class OAuth2NativeSignonAction {
  login,   ///< an existing user was signed in
  signup,  ///< a new account was made
};

template <>
struct RawValues<OAuth2NativeSignonAction> {
  static constexpr std::array rows{
      RawValueRow{OAuth2NativeSignonAction::login, "SIGNIN"},
      RawValueRow{OAuth2NativeSignonAction::signup, "SIGNUP"},
  };
};

/// The native sign-in endpoint's answer.
struct OAuth2CredentialsNativeSignonResponse {
  OAuth2CredentialsResponse tokenResponse;
  OAuth2NativeSignonAction action = OAuth2NativeSignonAction::login;

  bool operator==(const OAuth2CredentialsNativeSignonResponse&) const = default;
};

template <>
struct Coding<OAuth2CredentialsNativeSignonResponse> {
  static constexpr auto fields = std::tuple{
      field("token_response", &OAuth2CredentialsNativeSignonResponse::tokenResponse),
      field("action", &OAuth2CredentialsNativeSignonResponse::action),
  };
};

}  // namespace lx
