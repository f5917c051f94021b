#include "LXTesting/Backend/SecretsInternal.h"
#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Digest.h"
#include "LXUtils/Foundation/Random.h"

namespace lx::backend {

std::string randomToken() { return urlSafeBase64EncodedString(randomBytes(32)); }

std::string codeChallenge(std::string_view verifier) {
  return urlSafeBase64EncodedString(sha256(std::as_bytes(std::span(verifier))));
}

std::string fingerprint(std::string_view secret) {
  constexpr std::string_view hex = "0123456789abcdef";
  const auto digest = sha256(std::as_bytes(std::span(secret)));
  std::string result;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto byte = std::to_integer<unsigned>(digest[i]);
    result += {hex[byte >> 4U], hex[byte & 15U]};
  }
  return result;
}

}  // namespace lx::backend
