#include <algorithm>

#include "LXTesting/Backend/RouterInternal.h"

namespace lx::backend {

namespace {

/// Whether the path has the pattern's segments, where "*" stands for any one.
bool fits(std::string_view path, std::string_view pattern) {
  while (true) {
    const auto segment = path.substr(0, path.find('/'));
    const auto expected = pattern.substr(0, pattern.find('/'));
    if (expected == "*" ? segment.empty() : segment != expected) return false;
    if (segment.size() == path.size() || expected.size() == pattern.size()) {
      return segment.size() == path.size() && expected.size() == pattern.size();
    }
    path.remove_prefix(segment.size() + 1);
    pattern.remove_prefix(expected.size() + 1);
  }
}

}  // namespace

void Router::add(const std::string& method, const std::string& path, Route route) {
  auto& routes = path.find('*') == std::string::npos ? routes_ : patterns_;
  routes[path][method] = std::move(route);
}

const Router::Methods* Router::methodsOf(const std::string& path) const {
  const auto exact = routes_.find(path);
  if (exact != routes_.end()) return &exact->second;
  const auto fitting = std::ranges::find_if(patterns_, [&](const auto& entry) { return fits(path, entry.first); });
  return fitting == patterns_.end() ? nullptr : &fitting->second;
}

ServerResponse Router::route(const ServerRequest& request) const {
  const auto* methods = methodsOf(request.path);
  if (!methods) return errorResponse(404, "not_found", "No such endpoint");
  const auto route = methods->find(request.method);
  if (route != methods->end()) return route->second(request);
  auto response = errorResponse(405, "method_not_allowed", "Another method is needed");
  std::string allowed;
  for (const auto& [method, ignored] : *methods) allowed += (allowed.empty() ? "" : ", ") + method;
  response.headers.emplace_back("Allow", allowed);
  return response;
}

OrRefusal<json::object> jsonBody(const ServerRequest& request) {
  if (request.mediaType() != "application/json") {
    return refuse(errorResponse(415, "unsupported_media_type", "The body must be application/json"));
  }
  auto value = parsedJSON(request.body);
  if (!value || !value->is_object()) {
    return refuse(errorResponse(400, "invalid_request", "The body is not a JSON object"));
  }
  return std::move(value->get_object());
}

OrRefusal<UserPointer> unlessBlocked(UserPointer user) {
  if (user->blockReason) return refuse(errorResponse(403, *user->blockReason, "The account is blocked"));
  return user;
}

OrRefusal<UserPointer> authenticatedUser(const World& world, const ServerRequest& request, CookieUse cookies) {
  std::optional<std::string> userID;
  if (const auto token = request.bearerToken()) {
    userID = world.tokens.userOf(*token);
  } else if (const auto lxauth = request.cookie("lxauth"); lxauth && cookies == CookieUse::accepted) {
    userID = world.accounts.userOfSession(*lxauth);
  }
  auto user = userID ? world.accounts.find(*userID) : nullptr;
  if (!user) return refuse(errorResponse(401, "unauthorized", "Not signed in"));
  return unlessBlocked(std::move(user));
}

std::pair<std::string, std::string> cookieHeader(const ServerRequest& request, const std::string& name,
                                                 const std::string& value) {
  std::string cookie = name + "=" + value + "; Path=/; Secure; HttpOnly";
  // auth.example.com sets its cookies for example.com; a name without such a parent, or an address, for itself.
  const bool isAddress = request.host.find_first_not_of("0123456789.") == std::string::npos;
  const auto parent = request.host.substr(std::min(request.host.find('.'), request.host.size() - 1) + 1);
  if (!isAddress && parent.find('.') != std::string::npos) cookie += "; Domain=" + parent;
  return {"Set-Cookie", cookie};
}

}  // namespace lx::backend
