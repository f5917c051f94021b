#pragma once

#include <array>
#include <expected>
#include <functional>
#include <map>
#include <string>

#include "LXTesting/Backend/JSONInternal.h"
#include "LXTesting/Backend/MessagesInternal.h"
#include "LXTesting/Backend/WorldInternal.h"

namespace lx::backend {

/// A value, or the answer that refuses the request.
template <class T>
using OrRefusal = std::expected<T, ServerResponse>;

inline std::unexpected<ServerResponse> refuse(ServerResponse response) {
  return std::unexpected<ServerResponse>(std::move(response));
}

/// Finds the route of a request by path and method, on whatever host.
class Router {
 public:
  using Route = std::function<ServerResponse(const ServerRequest&)>;

  /// A segment "*" of the path stands for any one segment.
  void add(const std::string& method, const std::string& path, Route route);

  /// 404 for an unknown path, 405 for a known one with another method.
  ServerResponse route(const ServerRequest& request) const;

 private:
  using Methods = std::map<std::string, Route>;

  const Methods* methodsOf(const std::string& path) const;

  std::map<std::string, Methods> routes_;    ///< by path
  std::map<std::string, Methods> patterns_;  ///< by path with "*"
};

/// The body as a JSON object: 415 for another media type, 400 for anything that is no object.
OrRefusal<json::object> jsonBody(const ServerRequest& request);

/// The texts under these keys, all of which must be there: 400 names the first that is not.
template <std::size_t N>
OrRefusal<std::array<std::string, N>> requiredTexts(const json::object& body,
                                                    const std::array<std::string_view, N>& keys) {
  std::array<std::string, N> texts;
  for (std::size_t i = 0; i < N; ++i) {
    auto text = textField(body, keys[i]);
    if (!text) return refuse(errorResponse(400, "invalid_request", "Missing " + std::string(keys[i])));
    texts[i] = std::move(*text);
  }
  return texts;
}

enum class CookieUse { refused, accepted };

/// The user whose access token, or cookie where that will do, comes with the request: 401 without a valid one, 403
/// with the reason for a blocked user.
OrRefusal<UserPointer> authenticatedUser(const World& world, const ServerRequest& request, CookieUse cookies);

/// The 403 of a blocked user.
OrRefusal<UserPointer> unlessBlocked(UserPointer user);

/// A Set-Cookie header for the whole domain of the host that was asked.
std::pair<std::string, std::string> cookieHeader(const ServerRequest& request, const std::string& name,
                                                 const std::string& value);

/// Opens a session of the cookie era for the user and sets its cookies, those of them that are wanted.
void addSessionCookies(World& world, const ServerRequest& request, ServerResponse& response, const std::string& userID);

void addTokenRoutes(Router& router, World& world);
void addNativeSignInRoute(Router& router, World& world);
void addUnifiedLoginRoutes(Router& router, World& world);
void addSignInPages(Router& router, World& world);
void addUserRoutes(Router& router, World& world);
void addSettingsRoutes(Router& router, World& world);
void addOrganisationRoutes(Router& router, World& world);
void addVoiceRoutes(Router& router, World& world);
void addEmotionRoutes(Router& router);

}  // namespace lx::backend
