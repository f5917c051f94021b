#pragma once

#include <string>
#include <string_view>

namespace lx::backend {

/// 256 random bits as URL-safe text.
std::string randomToken();

/// The PKCE challenge of a verifier by the method S256 (RFC 7636, section 4.2).
std::string codeChallenge(std::string_view verifier);

/// Eight hexadecimal digits that tell secrets apart without giving them away.
std::string fingerprint(std::string_view secret);

}  // namespace lx::backend
