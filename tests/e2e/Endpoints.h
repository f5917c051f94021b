#pragma once

#include <functional>
#include <string>

#include "e2e/StackTest.h"

namespace lx {

/// What a call may need, for whatever endpoint it is.
struct EndpointArguments {
  std::string code = {};
  std::string codeVerifier = {};
  std::string codeChallenge = {};
  std::string lxauth = {};
  std::string providerToken = {};
  OAuth2Credentials credentials = {};  ///< to be revoked
};

/// An endpoint of the backend, and the operation of a service that calls it.
struct Endpoint {
  std::string method;
  std::string path;
  std::string grant;
  std::string field;           ///< that its answer's body must have; empty where the body does not matter
  bool keepsResponse = false;  ///< a body that cannot be decoded is an error with the response
  std::function<Task<void>(App&, const EndpointArguments&)> call;

  std::string route() const { return method + " " + path + (grant.empty() ? "" : " " + grant); }
};

template <class T>
Task<void> ended(const Task<T>& task) {
  return task.map([](const auto&...) {});
}

inline const std::string tokenPath = "/v4/api/oauth2/token";

/// Called by the credentials service on behalf of its callers.
inline const Endpoint refreshEndpoint{"POST", tokenPath, "refresh_token", "expires_in", false, {}};

inline const Endpoint endpoints[] = {
    {"POST", tokenPath, "authorization_code", "access_token", false,
     [](App& app, const auto& with) {
       return ended(app.builder().authenticationService()->unifiedSignonExchangeCode(with.code, with.codeVerifier,
                                                                                     std::nullopt));
     }},
    {"POST", tokenPath, "urn:ietf:params:oauth:grant-type:token-exchange", "refresh_token", false,
     [](App& app, const auto& with) {
       return ended(app.builder().silentAuthorizationManager()->exchange({with.lxauth, {}, {}}));
     }},
    {"POST", tokenPath, "urn:ietf:params:oauth:grant-type:client_id", "expires_in", false,
     [](App& app, const auto&) { return ended(app.anonymous.authenticateAnonymous()); }},
    {"POST", "/v4/api/revoke-by-refresh-token", "", "", false,
     [](App& app, const auto& with) { return app.builder().tokenRefreshService()->revoke(with.credentials); }},
    {"POST", "/v4/api/native-sign-in", "", "token_response.expires_in", false,
     [](App& app, const auto& with) {
       return ended(app.authentication.socialSignonExchangeSocialToken(googleSignon(with.providerToken), {}));
     }},
    {"POST", "/v3/api/unified-login/code/generate", "", "redirect_uri", false,
     [](App& app, const auto& with) {
       return ended(app.oauth.generateCode(with.codeChallenge, app.stack.environment->clientType()));
     }},
    {"POST", "/v3/api/unified-login/code/exchange", "", "", false,
     [](App& app, const auto& with) {
       return ended(app.oauth.exchangeCode(with.code, with.codeVerifier, app.stack.environment->clientType()));
     }},
    {"GET", "/v3/user", "", "email", true, [](App& app, const auto&) { return ended(app.user.fetchUser()); }},
    {"GET", "/v4/api/user", "", "id", true, [](App& app, const auto&) { return ended(app.userOAuth2.fetchUser()); }},
    {"POST", "/v3/logout", "", "ok", false, [](App& app, const auto&) { return ended(app.user.logout()); }},
    {"POST", "/v3/user/oranonymous", "", "email", true,
     [](App& app, const auto&) { return ended(app.orAnonymous.auth()); }},
};

}  // namespace lx
