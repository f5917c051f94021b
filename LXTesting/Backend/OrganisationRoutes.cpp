#include "LXTesting/Backend/RouterInternal.h"

namespace lx::backend {

namespace {

/// The organisation in a user's record; nothing for a user without one.
std::optional<std::string> institutionOf(const DevUser& user) {
  const auto record = parsedJSON(user.record);
  const auto* object = record ? record->if_object() : nullptr;
  const auto* institution = object ? object->if_contains("institutionInfo") : nullptr;
  if (!institution || !institution->is_object()) return std::nullopt;
  const auto* id = institution->get_object().if_contains("id");
  return id ? std::optional(json::serialize(*id)) : std::nullopt;
}

/// The member of the organisation that the path names; 403 for anyone else.
OrRefusal<UserPointer> member(const World& world, const ServerRequest& request) {
  constexpr std::string_view marker = "/institution/";
  auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user;
  const auto begin = request.path.find(marker) + marker.size();
  const auto institution = request.path.substr(begin, request.path.find('/', begin) - begin);
  if (institutionOf(**user) != institution) return refuse(errorResponse(403, "forbidden", "Not of this institution"));
  return user;
}

ServerResponse clientControls(const World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  const bool controlled = institutionOf(**user).has_value();
  const std::string reason = "ORGANIZATION_CONTROLS";
  json::object controls{{"clientControlsEnabled", controlled},
                        {"dlpEnabled", controlled},
                        {"confidentialModeEnabled", false},
                        {"docsDisabled", false},
                        {"allowedDomainsEnabled", false},
                        {"allowedApplicationsEnabled", controlled},
                        {"clients", json::array()},
                        {"domains", json::array()},
                        {"applications", json::array()},
                        {"allowedApplications", json::array()},
                        {"allowedDomains", json::array()},
                        {"dlpConfiguration", {{"patterns", json::object()}}}};
  if (controlled) {
    controls["clients"] = {{{"client", "extension-chrome"}, {"blocked", true}, {"reason", reason}}};
    controls["domains"] = {{{"domain", "bank.test"}, {"subdomains", true}, {"blocked", true}, {"reason", reason}}};
    controls["allowedApplications"] = {{{"application", "test.editor"}, {"enabled", true}}};
    controls["dlpConfiguration"] = {{"patterns",
                                     {{"card",
                                       {{"regex", "[0-9]{16}"},
                                        {"priority", 1},
                                        {"description", "Card number"},
                                        {"prefixes", json::array{"card"}}}}}}};
  }
  return jsonResponse(200, controls);
}

ServerResponse styleGuides(const World& world, const ServerRequest& request) {
  const auto user = member(world, request);
  if (!user) return user.error();
  return jsonResponse(200, json::object{{"styleGuides", {{{"id", "house"}, {"name", "House style"}}}}});
}

ServerResponse styleGuideRules(const World& world, const ServerRequest& request) {
  const auto user = member(world, request);
  if (!user) return user.error();
  return jsonResponse(200, json::array{{{"id", "rule-1"}, {"term", "e-mail"}, {"replacements", json::array{"email"}}}});
}

ServerResponse saveSnippet(const World& world, const ServerRequest& request) {
  const auto user = member(world, request);
  if (!user) return user.error();
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<3>(*body, {"name", "content", "hierarchy"});
  if (!texts) return texts.error();
  const auto& hierarchy = texts->at(2);
  if (hierarchy != "PERSONAL" && hierarchy != "GLOBAL") {
    return errorResponse(400, "invalid_request", "Unknown hierarchy");
  }
  return jsonResponse(201, json::object{{"name", texts->at(0)}});
}

}  // namespace

void addOrganisationRoutes(Router& router, World& world) {
  router.add("GET", "/client-controls", [&](const auto& request) { return clientControls(world, request); });
  router.add("GET", "/kiv/v1/institution/*/sg", [&](const auto& request) { return styleGuides(world, request); });
  router.add("GET", "/kiv/v1/institution/*/sg/*/rules",
             [&](const auto& request) { return styleGuideRules(world, request); });
  router.add("POST", "/snippets/v1/snippets/institution/*",
             [&](const auto& request) { return saveSnippet(world, request); });
}

}  // namespace lx::backend
