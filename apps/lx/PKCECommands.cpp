#include "LXServices/Services/UnifiedSignin/AuthUtility.h"

#include "lx/Commands.h"
#include "lx/Secret.h"

namespace lx::tool {

Result<void> runPKCEVerifier(const Output& output, int length) {
  return output.value("codeVerifier", AuthUtilityImpl().generateCodeVerifier(length));
}

Result<void> runPKCEChallenge(const Output& output, const std::string& given) {
  const auto verifier = readSecret(given);
  if (!verifier) return fail(verifier.error());
  const auto challenge = AuthUtilityImpl().calculateCodeChallenge(*verifier);
  if (challenge.empty()) return fail(UnwrapError{"The verifier is not ASCII"});
  return output.value("codeChallenge", challenge);
}

}  // namespace lx::tool
