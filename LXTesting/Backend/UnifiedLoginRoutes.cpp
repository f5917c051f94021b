#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/TokenAnswerInternal.h"

namespace lx::backend {

namespace {

/// Both endpoints are for the sign-in page of the web client alone.
std::optional<ServerResponse> refuseForeignReferer(const ServerRequest& request) {
  if (request.header("Referer").ends_with("/signin/oauth")) return std::nullopt;
  return errorResponse(403, "forbidden", "Wrong referer");
}

ServerResponse generateCode(World& world, const ServerRequest& request) {
  if (auto refusal = refuseForeignReferer(request)) return *refusal;
  const auto user = authenticatedUser(world, request, CookieUse::refused);
  if (!user) return user.error();
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<2>(*body, {"code_challenge", "client_id"});
  if (!texts) return texts.error();
  const auto& [challenge, clientID] = *texts;
  const auto code = world.codes.issue(challenge, {(*user)->id, clientID});
  return jsonResponse(200, json::object{{"redirect_uri", "https://" + request.host + "/signin/oauth?code=" + code}});
}

ServerResponse exchangeCode(World& world, const ServerRequest& request) {
  if (auto refusal = refuseForeignReferer(request)) return *refusal;
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<3>(*body, {"code", "code_verifier", "client_id"});
  if (!texts) return texts.error();
  const auto& [code, verifier, clientID] = *texts;
  const auto grantee = world.codes.redeem(code, verifier, clientID);
  if (!grantee) return codeRefused(grantee.error());
  auto response = jsonResponse(200, json::object());
  addSessionCookies(world, request, response, grantee->userID);
  return response;
}

}  // namespace

void addUnifiedLoginRoutes(Router& router, World& world) {
  const std::string base = "/v3/api/unified-login/code/";
  router.add("POST", base + "generate", [&](const auto& request) { return generateCode(world, request); });
  router.add("POST", base + "exchange", [&](const auto& request) { return exchangeCode(world, request); });
}

}  // namespace lx::backend
