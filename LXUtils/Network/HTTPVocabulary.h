#pragma once

#include <string>
#include <string_view>

namespace lx {

enum class HTTPMethod { get, post, put, delete_, head, patch };

/// The method as it stands in a request line.
std::string_view rawValue(HTTPMethod method);

/// The name of a header field. Names differ only by more than letter case (RFC 9110, section 5.1).
struct HTTPHeaderName {
  std::string_view rawValue;

  static const HTTPHeaderName origin;
  static const HTTPHeaderName clientType;
  static const HTTPHeaderName clientVersion;
  static const HTTPHeaderName containerID;
  static const HTTPHeaderName lexiconiaAuthPolicy;
  static const HTTPHeaderName authorization;
  static const HTTPHeaderName cookie;
  static const HTTPHeaderName setCookie;
  static const HTTPHeaderName csrfToken;
  static const HTTPHeaderName contentType;
  static const HTTPHeaderName contentLength;
  static const HTTPHeaderName contentMD5;
  static const HTTPHeaderName contentEncoding;
  static const HTTPHeaderName transferEncoding;
  static const HTTPHeaderName userAgent;
  static const HTTPHeaderName referer;
  static const HTTPHeaderName location;
};

inline constexpr HTTPHeaderName HTTPHeaderName::origin{"Origin"};
inline constexpr HTTPHeaderName HTTPHeaderName::clientType{"X-Client-Type"};
inline constexpr HTTPHeaderName HTTPHeaderName::clientVersion{"X-Client-Version"};
inline constexpr HTTPHeaderName HTTPHeaderName::containerID{"X-Container-Id"};
inline constexpr HTTPHeaderName HTTPHeaderName::lexiconiaAuthPolicy{"X-Auth-Policy"};
inline constexpr HTTPHeaderName HTTPHeaderName::authorization{"Authorization"};
inline constexpr HTTPHeaderName HTTPHeaderName::cookie{"Cookie"};
inline constexpr HTTPHeaderName HTTPHeaderName::setCookie{"Set-Cookie"};
inline constexpr HTTPHeaderName HTTPHeaderName::csrfToken{"X-CSRF-Token"};
inline constexpr HTTPHeaderName HTTPHeaderName::contentType{"Content-Type"};
inline constexpr HTTPHeaderName HTTPHeaderName::contentLength{"Content-Length"};
inline constexpr HTTPHeaderName HTTPHeaderName::contentMD5{"Content-MD5"};
inline constexpr HTTPHeaderName HTTPHeaderName::contentEncoding{"Content-Encoding"};
inline constexpr HTTPHeaderName HTTPHeaderName::transferEncoding{"Transfer-Encoding"};
inline constexpr HTTPHeaderName HTTPHeaderName::userAgent{"User-Agent"};
inline constexpr HTTPHeaderName HTTPHeaderName::referer{"Referer"};
inline constexpr HTTPHeaderName HTTPHeaderName::location{"Location"};

/// Values of headers that are built the same way everywhere.
struct HTTPHeaderKnownValues {
  /// Proof of enrollment in a managed installation.
  static std::string enrollmentToken(std::string_view token) { return "enrollmentToken=" + std::string(token); }

  /// RFC 6750, section 2.1.
  static std::string bearer(std::string_view token) { return "Bearer " + std::string(token); }
};

/// The name of a cookie. Case-sensitive.
struct HTTPCookieName {
  std::string_view rawValue;

  static const HTTPCookieName authToken;
  static const HTTPCookieName csrfToken;
  static const HTTPCookieName authPolicy;
  static const HTTPCookieName trustedDeviceID;

  bool operator==(const HTTPCookieName&) const = default;
};

inline constexpr HTTPCookieName HTTPCookieName::authToken{"lxauth"};
inline constexpr HTTPCookieName HTTPCookieName::csrfToken{"csrf-token"};
inline constexpr HTTPCookieName HTTPCookieName::authPolicy{"auth-policy"};
inline constexpr HTTPCookieName HTTPCookieName::trustedDeviceID{"tdi"};

/// The media type of a body.
struct HTTPContentType {
  std::string_view rawValue;

  static const HTTPContentType jsonWithUTF8;
  static const HTTPContentType textPlain;
  static const HTTPContentType m4aAudio;
};

inline constexpr HTTPContentType HTTPContentType::jsonWithUTF8{"application/json; charset=utf-8"};
inline constexpr HTTPContentType HTTPContentType::textPlain{"text/plain"};
inline constexpr HTTPContentType HTTPContentType::m4aAudio{"audio/m4a"};

}  // namespace lx
