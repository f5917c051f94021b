#include "LXTesting/Backend/ApplicationInternal.h"
#include "LXTesting/Backend/TokenAnswerInternal.h"

namespace lx::backend {

namespace {

ServerResponse done() { return jsonResponse(200, json::object{{"ok", true}}); }

ServerResponse refused(const Error& error) { return errorResponse(400, error.typeName(), error.description()); }

ServerResponse setScenario(Application& application, const ServerRequest& request) {
  auto scenario = Scenario::parse(request.body);
  if (!scenario) return refused(scenario.error());
  if (!scenario->connections.empty()) {
    return errorResponse(400, "invalid_request", "Rules for connections must be there from the start");
  }
  application.faults().set(std::move(*scenario));
  return done();
}

ServerResponse revoke(Application& application, const ServerRequest& request) {
  const auto body = jsonBody(request);
  if (!body) return body.error();
  if (const auto token = textField(*body, "refresh_token")) {
    application.world().tokens.revoke(*token);
  } else {
    application.world().tokens.revokeAll();
  }
  return done();
}

/// Hands the whole number under `key` on.
template <class Set>
ServerResponse setNumber(const ServerRequest& request, std::string_view key, const Set& set) {
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto* value = body->if_contains(key);
  const auto* number = value ? value->if_int64() : nullptr;
  if (!number) return errorResponse(400, "invalid_request", "Missing " + std::string(key));
  set(*number);
  return done();
}

ServerResponse credentials(Application& application, const ServerRequest& request) {
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto user = requiredTexts<1>(*body, {"user"});
  if (!user) return user.error();
  const auto minted = application.mintCredentials(user->front());
  if (!minted) return refused(minted.error());
  return jsonResponse(200, tokenAnswer({minted->accessToken, minted->refreshToken, minted->expiresIn}, {}));
}

ServerResponse code(Application& application, const ServerRequest& request) {
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<2>(*body, {"user", "code_challenge"});
  if (!texts) return texts.error();
  const auto& [user, challenge] = *texts;
  const auto issued = application.issueCode(challenge, user);
  return issued ? jsonResponse(200, json::object{{"code", *issued}}) : refused(issued.error());
}

}  // namespace

void addControlRoutes(Router& router, Application& application) {
  router.add("GET", "/_dev/journal", [&](const auto&) {
    return ServerResponse{200, "application/json; charset=utf-8", application.journal().json(), {}};
  });
  router.add("POST", "/_dev/expire", [&](const auto&) {
    application.world().tokens.expireAccessTokens();
    return done();
  });
  router.add("POST", "/_dev/scenario", [&](const auto& request) { return setScenario(application, request); });
  router.add("POST", "/_dev/revoke", [&](const auto& request) { return revoke(application, request); });
  router.add("POST", "/_dev/lifetime", [&](const auto& request) {
    return setNumber(request, "expires_in", [&](auto seconds) { application.world().tokens.setExpiresIn(seconds); });
  });
  router.add("POST", "/_dev/grace", [&](const auto& request) {
    return setNumber(request, "milliseconds",
                     [&](auto count) { application.world().tokens.setGrace(std::chrono::milliseconds(count)); });
  });
  router.add("POST", "/_dev/credentials", [&](const auto& request) { return credentials(application, request); });
  router.add("POST", "/_dev/code", [&](const auto& request) { return code(application, request); });
}

}  // namespace lx::backend
