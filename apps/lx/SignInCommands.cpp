#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AnonymousServiceOAuth2.h"
#include "LXServices/Services/UserService.h"

#include "lx/Secret.h"
#include "lx/SignIn.h"
#include "lx/SignalHold.h"
#include "lx/ToolError.h"

namespace lx::tool {
namespace {

class RequestBodyProvider final : public OAuth2SocialSignonCodeExchangeRequestBodyProvider {
 public:
  explicit RequestBodyProvider(bool google) : google_(google) {}

  EncodableBody requestBody(const OAuth2SocialSignonPayload& payload) const override {
    const SocialRequestPayload::User user{payload.name, payload.email};
    // Google's sign-in returns an access token, Apple's a code.
    if (google_) {
      return SignonContextGoogle{{SocialRequestPayload::AccessToken{payload.socialProviderToken, user}}, payload.tdi};
    }
    return SignonContextApple{{SocialRequestPayload::Code{payload.socialProviderToken, user}}, payload.tdi};
  }

 private:
  const bool google_;
};

Result<SignedIn> exchange(Stack& stack, const SignInOptions& options) {
  const auto service = stack.networking().authenticationService();
  const auto device = stack.store().trustedDeviceID();
  if (!options.code.empty()) {
    const auto authDTO = stack.await(service->unifiedSignonExchangeCode(options.code, options.verifier, device));
    if (!authDTO) return fail(authDTO.error());
    return SignedIn{*authDTO, std::nullopt, {}};
  }
  const bool google = !options.google.empty();
  const auto answer = stack.await(service->socialSignonExchangeSocialToken(
      RequestBodyProvider(google), {google ? options.google : options.apple, device, options.name, options.email}));
  if (!answer) return fail(answer.error());
  return SignedIn{answer->first, answer->second, {}};
}

Result<SignInOptions> withSecretsRead(SignInOptions options) {
  for (auto* secret : {&options.code, &options.verifier, &options.google, &options.apple}) {
    if (secret->empty()) continue;
    auto read = readSecret(*secret);
    if (!read) return fail(read.error());
    *secret = *std::move(read);
  }
  return options;
}

// What is exchanged cannot be exchanged again: signals wait until its outcome is stored.
Result<SignedIn> exchangeAndStore(Stack& stack, const SignInOptions& options) {
  const SignalHold hold;
  auto signedIn = exchange(stack, options);
  if (!signedIn) return signedIn;
  if (const auto stored = stack.store().storeSignIn(signedIn->authDTO); !stored) return fail(stored.error());
  return signedIn;
}

}  // namespace

Result<SignedIn> signIn(Stack& stack, const SignInOptions& options) {
  auto signedIn = exchangeAndStore(stack, options);
  if (!signedIn) return signedIn;
  UserServiceOAuth2Impl users(stack.networking().oauth2NetworkService(), stack.environment());
  const auto fetched = stack.await(users.fetchUser());
  if (!fetched) return fail(fetched.error());
  signedIn->user = fetched->user;
  if (const auto stored = stack.store().storeUser(fetched->user); !stored) return fail(stored.error());
  return signedIn;
}

Result<void> runSignIn(const GlobalOptions& global, const Output& output, const SignInOptions& options) {
  const auto ready = withSecretsRead(options);
  if (!ready) return fail(ready.error());
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  const auto signedIn = signIn(**stack, *ready);
  if (!signedIn) return fail(signedIn.error());
  return output.object([&](ObjectWriter& out) {
    out.members(signedIn->authDTO);
    if (signedIn->action) out.text("action", rawValue(*signedIn->action));
    out.wire("user", signedIn->user);
  });
}

Result<void> runAnonymous(const GlobalOptions& global, const Output& output) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  const SignalHold hold;
  AnonymousServiceOAuth2Impl service((*stack)->environment(), (*stack)->networking().oauth2LooseNetworkService());
  const auto credentials = (*stack)->await(service.authenticateAnonymous());
  if (!credentials) return fail(credentials.error());
  if (const auto stored = (*stack)->store().storeSignIn({*credentials, {}}); !stored) return stored;
  return output.object([&](ObjectWriter& out) { out.members(*credentials); });
}

Result<void> runMigrate(const GlobalOptions& global, const Output& output, const std::string& lxauth) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  UserAuthData authData;
  if (!lxauth.empty()) {
    const auto token = readSecret(lxauth);
    if (!token) return fail(token.error());
    authData.authToken = *token;
  } else {
    const auto stored = (*stack)->store().loadLegacyAuthData();
    if (!stored) return fail(stored.error());
    if (!*stored) return fail(ToolError{ToolError::Kind::noLegacyData, "Nothing of the cookie era is stored"});
    authData = **stored;
  }
  const SignalHold hold;
  const auto authDTO = (*stack)->await((*stack)->networking().silentAuthorizationManager()->exchange(authData));
  if (!authDTO) return fail(authDTO.error());
  // The user stays the same one, and the cookie-era data can recover this sign-in, too.
  auto& storage = (*stack)->store();
  if (authDTO->deviceAuthData.trustedDeviceID) {
    if (const auto stored = storage.storeDeviceAuthData(authDTO->deviceAuthData); !stored) return stored;
  }
  if (const auto stored = storage.storeOAuth2Credentials(authDTO->oauth2Credentials); !stored) return stored;
  return output.object([&](ObjectWriter& out) { out.members(*authDTO); });
}

}  // namespace lx::tool
