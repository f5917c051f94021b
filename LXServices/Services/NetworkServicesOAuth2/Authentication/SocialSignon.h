#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// What the caller knows after a sign-in with Google or Apple on the device.
struct OAuth2SocialSignonPayload {
  std::string socialProviderToken;
  std::optional<std::string> tdi;  ///< the trusted-device identifier of an earlier sign-in
  std::optional<std::string> name;
  std::optional<std::string> email;

  bool operator==(const OAuth2SocialSignonPayload&) const = default;
};

/// Who signed in and by what: the provider's access token, or its code. The user's keys stand beside it.
struct SocialRequestPayload {
  struct User {
    std::optional<std::string> name;
    std::optional<std::string> email;
  };
  struct AccessToken {
    std::string token;
    User user;
  };
  struct Code {
    std::string code;
    User user;
  };

  std::variant<AccessToken, Code> kind;
};

struct SignonContextGoogle {
  SocialRequestPayload googleSignup;
  std::optional<std::string> trustedDeviceID;
};

struct SignonContextApple {
  SocialRequestPayload appleSignup;
  std::optional<std::string> trustedDeviceID;
};

/// Any record with a coding table, to be written as a request's body.
class EncodableBody {
 public:
  template <class Body>
    requires(!std::same_as<Body, EncodableBody>)
  EncodableBody(Body body) : encode_([body = std::move(body)] { return lx::encodeJSON(body); }) {}

  Result<Data> encode() const { return encode_(); }

 private:
  std::function<Result<Data>()> encode_;
};

inline Result<Data> encodeJSON(const EncodableBody& body) { return body.encode(); }

/// Implemented by the app: chooses the body for a payload, in practice a SignonContextGoogle or SignonContextApple.
class OAuth2SocialSignonCodeExchangeRequestBodyProvider {
 public:
  virtual ~OAuth2SocialSignonCodeExchangeRequestBodyProvider() = default;
  virtual EncodableBody requestBody(const OAuth2SocialSignonPayload& payload) const = 0;
};

template <>
struct Coding<OAuth2SocialSignonPayload> {
  static constexpr auto fields = std::tuple{
      field("socialProviderToken", &OAuth2SocialSignonPayload::socialProviderToken),
      field("tdi", &OAuth2SocialSignonPayload::tdi),
      field("name", &OAuth2SocialSignonPayload::name),
      field("email", &OAuth2SocialSignonPayload::email),
  };
};

template <>
struct Coding<SocialRequestPayload::User> {
  static constexpr auto fields = std::tuple{
      field("name", &SocialRequestPayload::User::name),
      field("email", &SocialRequestPayload::User::email),
  };
};

template <>
struct Coding<SocialRequestPayload::AccessToken> {
  static constexpr auto fields = std::tuple{
      field("access_token", &SocialRequestPayload::AccessToken::token),
      flattened(&SocialRequestPayload::AccessToken::user),
  };
};

template <>
struct Coding<SocialRequestPayload::Code> {
  static constexpr auto fields = std::tuple{
      field("code", &SocialRequestPayload::Code::code),
      flattened(&SocialRequestPayload::Code::user),
  };
};

template <>
struct Coding<SocialRequestPayload> {
  static void encodeMembers(JSONWriter& writer, const SocialRequestPayload& payload) {
    std::visit([&](const auto& kind) { coding::encodeMembers(writer, kind); }, payload.kind);
  }
};

template <>
struct Coding<SignonContextGoogle> {
  static constexpr auto fields = std::tuple{
      field("google_signin", &SignonContextGoogle::googleSignup),
      field("device_id", &SignonContextGoogle::trustedDeviceID),
  };
};

template <>
struct Coding<SignonContextApple> {
  static constexpr auto fields = std::tuple{
      field("apple_signin", &SignonContextApple::appleSignup),
      field("device_id", &SignonContextApple::trustedDeviceID),
  };
};

}  // namespace lx
