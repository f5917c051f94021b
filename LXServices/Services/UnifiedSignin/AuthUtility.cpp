#include "LXServices/Services/UnifiedSignin/AuthUtility.h"

#include <algorithm>

#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Digest.h"
#include "LXUtils/Foundation/Random.h"

namespace lx {

bool OAuth2StateParam::operator==(const OAuth2StateParam& other) const { return constantTimeEqual(value, other.value); }

std::string AuthUtilityImpl::generateCodeVerifier(int length) const {
  return randomString(static_cast<std::size_t>(std::max(length, 0)), nonceCharacters);
}

std::string AuthUtilityImpl::calculateCodeChallenge(const std::string& codeVerifier) const {
  const bool isASCII =
      std::all_of(codeVerifier.begin(), codeVerifier.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
  return isASCII ? urlSafeBase64EncodedString(sha256(dataOf(codeVerifier))) : std::string();
}

OAuth2StateParam AuthUtilityImpl::generateState(int length) const { return {generateCodeVerifier(length)}; }

}  // namespace lx
