#include <algorithm>

#include "LXTesting/Backend/RouterInternal.h"

namespace lx::backend {

void Router::add(const std::string& method, const std::string& path, Route route) {
  routes_[path][method] = std::move(route);
}

ServerResponse Router::route(const ServerRequest& request) const {
  const auto methods = routes_.find(request.path);
  if (methods == routes_.end()) return errorResponse(404, "not_found", "No such endpoint");
  const auto route = methods->second.find(request.method);
  if (route != methods->second.end()) return route->second(request);
  auto response = errorResponse(405, "method_not_allowed", "Another method is needed");
  std::string allowed;
  for (const auto& [method, ignored] : methods->second) allowed += (allowed.empty() ? "" : ", ") + method;
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
  const auto firstDot = request.host.find('.');
  if (!isAddress && firstDot != std::string::npos && firstDot != request.host.rfind('.')) {
    cookie += "; Domain=" + request.host.substr(request.host.rfind('.', request.host.rfind('.') - 1) + 1);
  }
  return {"Set-Cookie", cookie};
}

}  // namespace lx::backend
