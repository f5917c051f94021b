#include "LXTesting/Backend/RouterInternal.h"

namespace lx::backend {

namespace {

constexpr std::string_view propertiesPath = "/properties/";

ServerResponse readSettings(World& world, const ServerRequest& request, const json::object& initial) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  return jsonResponse(200, world.settings.get((*user)->id, request.path, initial));
}

ServerResponse writeSettings(World& world, const ServerRequest& request, const json::object& initial) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  const auto body = jsonBody(request);
  if (!body) return body.error();
  world.settings.merge((*user)->id, request.path, initial, *body);
  return jsonResponse(200, json::object());
}

/// The text of one property; "null" for one that was never written.
ServerResponse readProperty(World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  const auto name = request.path.substr(propertiesPath.size());
  const auto properties = world.settings.get((*user)->id, std::string(propertiesPath), {});
  const auto* value = properties.if_contains(name);
  const auto* text = value ? value->if_string() : nullptr;
  return {.contentType = "text/plain; charset=utf-8", .body = text ? std::string(*text) : "null"};
}

ServerResponse sendInstructions(World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  return user ? jsonResponse(200, json::object()) : user.error();
}

}  // namespace

void addSettingsRoutes(Router& router, World& world) {
  const auto add = [&](const std::string& path, const json::object& initial, bool writable) {
    router.add("GET", path, [&world, initial](const auto& request) { return readSettings(world, request, initial); });
    if (!writable) return;
    router.add("POST", path, [&world, initial](const auto& request) { return writeSettings(world, request, initial); });
  };
  add("/api/configuration/language/v1/settings", {{"dialectLockedByInstitution", false}}, false);
  add("/api/configuration/brisca/v1/settings",
      {{"briscaEnabled", true},
       {"status", "ENABLED"},
       {"entryPointsConfig", {{"inlineRewriteEnabled", true}, {"inlineQuickReplyEnabled", false}}}},
      true);
  add("/api/configuration/suggestion-bundles/v1/settings", {{"correctnessFullSentenceRewrites", "ENABLED"}}, true);
  add(std::string(propertiesPath), {}, true);
  router.add("GET", std::string(propertiesPath) + "*",
             [&](const auto& request) { return readProperty(world, request); });
  router.add("POST", "/email/send/desktop-installation-instructions",
             [&](const auto& request) { return sendInstructions(world, request); });
}

}  // namespace lx::backend
