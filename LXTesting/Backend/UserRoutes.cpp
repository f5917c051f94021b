#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/SecretsInternal.h"

namespace lx::backend {

namespace {

ServerResponse userRecord(const DevUser& user) {
  return {.status = 200,
          .contentType = "application/json; charset=utf-8",
          .body = user.record,
          .headers = {{"Cache-Control", "no-store"}}};
}

void addPolicyCookie(World& world, const ServerRequest& request, ServerResponse& response) {
  const auto cookies = world.cookies.withLock([](const DevCookies& current) { return current; });
  if (cookies.authPolicy) response.headers.push_back(cookieHeader(request, "auth-policy", "policy-" + randomToken()));
}

ServerResponse sessionUser(World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  auto response = userRecord(**user);
  if (fieldValue(formFields(request.query), "field") == "frontend_role") {
    if (auto record = parsedJSON(response.body); record && record->is_object()) {
      record->get_object()["customFields"] = json::object{{"frontend_role", (*user)->role}};
      response.body = json::serialize(*record);
    }
  }
  addPolicyCookie(world, request, response);
  return response;
}

ServerResponse tokenUser(World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::refused);
  return user ? userRecord(**user) : user.error();
}

ServerResponse logOut(World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  if (const auto lxauth = request.cookie("lxauth")) world.accounts.closeSession(*lxauth);
  return jsonResponse(200, json::object{{"ok", true}});
}

ServerResponse userOrAnonymous(World& world, const ServerRequest& request) {
  auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user && user.error().status != 401) return user.error();
  const auto signedIn = user ? *user : world.accounts.create("anonymous", true);
  auto response = userRecord(*signedIn);
  addSessionCookies(world, request, response, signedIn->id);
  addPolicyCookie(world, request, response);
  return response;
}

}  // namespace

void addSessionCookies(World& world, const ServerRequest& request, ServerResponse& response,
                       const std::string& userID) {
  const auto cookies = world.cookies.withLock([](const DevCookies& current) { return current; });
  const auto session = world.accounts.openSession(userID);
  const auto set = [&](bool wanted, const std::string& name, const std::string& value) {
    if (wanted) response.headers.push_back(cookieHeader(request, name, value));
  };
  set(cookies.authToken, "lxauth", session.lxauth);
  set(cookies.csrfToken, "csrf-token", session.csrf);
  set(cookies.trustedDeviceID, "tdi", Accounts::trustedDevice(request.cookie("tdi")));
}

void addUserRoutes(Router& router, World& world) {
  router.add("GET", "/v3/user", [&](const auto& request) { return sessionUser(world, request); });
  router.add("GET", "/v4/api/user", [&](const auto& request) { return tokenUser(world, request); });
  router.add("POST", "/v3/logout", [&](const auto& request) { return logOut(world, request); });
  router.add("POST", "/v3/user/oranonymous", [&](const auto& request) { return userOrAnonymous(world, request); });
}

}  // namespace lx::backend
