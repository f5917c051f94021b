#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/TokenAnswerInternal.h"

namespace lx::backend {

namespace {

constexpr std::string_view newcomerPrefix = "newcomer-";

struct SignIn {
  UserPointer user;
  bool isNew = false;
};

/// The platform's token or code: the only member of the body's "google_signin" or "apple_signin" that counts here.
std::optional<std::string> providerToken(const json::object& body) {
  for (const auto* provider : {"google_signin", "apple_signin"}) {
    const auto* value = body.if_contains(provider);
    const auto* payload = value ? value->if_object() : nullptr;
    if (!payload) continue;
    const auto token = textField(*payload, "access_token");
    return token ? token : textField(*payload, "code");
  }
  return std::nullopt;
}

std::optional<SignIn> signIn(World& world, const std::string& token) {
  if (auto user = world.accounts.byProviderToken(token)) return SignIn{std::move(user), false};
  if (!token.starts_with(newcomerPrefix)) return std::nullopt;
  return SignIn{world.accounts.createForProvider(token), true};
}

/// The body does not name the client; the header that every client sends does.
std::string clientOf(const ServerRequest& request) { return std::string(request.header("X-Client-Type")); }

ServerResponse nativeSignIn(World& world, const ServerRequest& request) {
  // Who signs in need not be anybody yet; a token that is sent all the same must be good.
  if (request.bearerToken()) {
    if (const auto current = authenticatedUser(world, request, CookieUse::refused); !current) return current.error();
  }
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto token = providerToken(*body);
  if (!token) return errorResponse(400, "invalid_request", "Missing google_signin or apple_signin");
  const auto signedIn = signIn(world, *token);
  if (!signedIn) return errorResponse(401, "invalid_grant", "The provider's token is not valid");
  if (const auto allowed = unlessBlocked(signedIn->user); !allowed) return allowed.error();
  const auto tokens = world.tokens.issue({signedIn->user->id, clientOf(request)});
  const auto device = Accounts::trustedDevice(textField(*body, "device_id"));
  return jsonResponse(200, json::object{{"token_response", tokenAnswer(tokens, device)},
                                        {"action", signedIn->isNew ? "SIGNUP" : "SIGNIN"}});
}

}  // namespace

void addNativeSignInRoute(Router& router, World& world) {
  router.add("POST", "/v4/api/native-sign-in", [&](const auto& request) { return nativeSignIn(world, request); });
}

}  // namespace lx::backend
