#include <array>

#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/TokenAnswerInternal.h"

namespace lx::backend {

json::object tokenAnswer(const IssuedTokens& tokens, const std::optional<std::string>& deviceID) {
  json::object answer{{"access_token", tokens.accessToken},
                      {"refresh_token", tokens.refreshToken},
                      {"expires_in", tokens.expiresIn},
                      {"token_type", "Bearer"}};
  if (deviceID) answer.emplace("device_id", *deviceID);
  return answer;
}

namespace {

ServerResponse invalidRefreshToken() { return errorResponse(401, "invalid_grant", "Invalid refresh token"); }

ServerResponse refresh(World& world, const json::object& body, const std::string& clientID) {
  const auto token = requiredTexts<1>(body, {"refresh_token"});
  if (!token) return token.error();
  const auto& refreshToken = token->front();
  const auto grantee = world.tokens.granteeOf(refreshToken);
  const auto user = grantee ? world.accounts.find(grantee->userID) : nullptr;
  if (!user) return invalidRefreshToken();
  if (const auto allowed = unlessBlocked(user); !allowed) return allowed.error();
  const auto tokens = world.tokens.refresh(refreshToken, clientID);
  return tokens ? jsonResponse(200, tokenAnswer(*tokens, {})) : invalidRefreshToken();
}

ServerResponse exchangeCode(World& world, const json::object& body, const std::string& clientID) {
  const auto texts = requiredTexts<2>(body, {"authorization_code", "code_verifier"});
  if (!texts) return texts.error();
  const auto& [code, verifier] = *texts;
  const auto grantee = world.codes.redeem(code, verifier, clientID);
  if (!grantee) {
    if (grantee.error() == CodeStore::Refusal::usedBefore) world.tokens.revoke(world.codes.refreshTokenOf(code));
    return codeRefused(grantee.error());
  }
  const auto tokens = world.tokens.issue(*grantee);
  world.codes.remember(code, tokens.refreshToken);
  return jsonResponse(200, tokenAnswer(tokens, Accounts::trustedDevice(textField(body, "device_id"))));
}

ServerResponse exchangeSession(World& world, const json::object& body, const std::string& clientID) {
  const auto texts = requiredTexts<3>(body, {"subject_token_type", "subject_token", "scopes"});
  if (!texts) return texts.error();
  const auto& [type, lxauth, scopes] = *texts;
  if (type != "urn:lexiconia:params:oauth:token-type:lxauth") {
    return errorResponse(400, "invalid_request", "Unknown subject_token_type");
  }
  if (scopes != "lexiconia.corva.all") return errorResponse(400, "invalid_scope", "Unknown scope");
  const auto userID = world.accounts.userOfSession(lxauth);
  const auto user = userID ? world.accounts.find(*userID) : nullptr;
  if (!user) return errorResponse(401, "invalid_grant", "Invalid subject token");
  if (const auto allowed = unlessBlocked(user); !allowed) return allowed.error();
  const auto tokens = world.tokens.issue({user->id, clientID});
  return jsonResponse(200, tokenAnswer(tokens, Accounts::trustedDevice(textField(body, "device_id"))));
}

ServerResponse signInAnonymously(World& world, const json::object&, const std::string& clientID) {
  const auto user = world.accounts.create("anonymous", true);
  return jsonResponse(200, tokenAnswer(world.tokens.issue({user->id, clientID}), {}));
}

ServerResponse token(World& world, const ServerRequest& request) {
  using Grant = ServerResponse (*)(World&, const json::object&, const std::string&);
  constexpr std::array<std::pair<std::string_view, Grant>, 4> grants{
      {{"refresh_token", refresh},
       {"authorization_code", exchangeCode},
       {"urn:ietf:params:oauth:grant-type:token-exchange", exchangeSession},
       {"urn:ietf:params:oauth:grant-type:client_id", signInAnonymously}}};
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<2>(*body, {"grant_type", "client_id"});
  if (!texts) return texts.error();
  const auto& [grantType, clientID] = *texts;
  for (const auto& [name, grant] : grants) {
    if (grantType == name) return grant(world, *body, clientID);
  }
  return errorResponse(400, "unsupported_grant_type", "Unknown grant_type");
}

ServerResponse revoke(World& world, const ServerRequest& request) {
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<2>(*body, {"refresh_token", "client_id"});
  if (!texts) return texts.error();
  // Another client's token is as unknown as one that never was, and that is no error (RFC 7009, section 2.2).
  const auto grantee = world.tokens.granteeOf(texts->at(0));
  if (grantee && grantee->isClient(texts->at(1))) world.tokens.revoke(texts->at(0));
  return jsonResponse(200, json::object());
}

}  // namespace

ServerResponse codeRefused(CodeStore::Refusal refusal) {
  switch (refusal) {
    case CodeStore::Refusal::unknown:
      return errorResponse(400, "invalid_grant", "Unknown or expired code");
    case CodeStore::Refusal::usedBefore:
      return errorResponse(400, "invalid_grant", "The code was used before");
    case CodeStore::Refusal::wrongVerifier:
      break;
  }
  return errorResponse(400, "invalid_grant", "The code verifier does not match");
}

void addTokenRoutes(Router& router, World& world) {
  router.add("POST", "/v4/api/oauth2/token", [&](const auto& request) { return token(world, request); });
  router.add("POST", "/v4/api/revoke-by-refresh-token", [&](const auto& request) { return revoke(world, request); });
}

}  // namespace lx::backend
