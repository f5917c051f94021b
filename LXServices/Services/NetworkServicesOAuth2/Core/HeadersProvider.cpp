#include "LXServices/Services/NetworkServicesOAuth2/Core/HeadersProvider.h"

#include <utility>

namespace lx {
namespace {

void addCookie(std::string& cookies, HTTPCookieName name, std::string_view value) {
  if (!cookies.empty()) cookies += "; ";
  cookies.append(name.rawValue).append("=").append(value);
}

}  // namespace

HeadersProvider::HeadersProvider(std::shared_ptr<const AppService> appService,
                                 std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                 std::optional<std::string> lexiconiaEnrollmentToken)
    : headers_(std::move(appService), std::move(backendEnvironment), std::move(lexiconiaEnrollmentToken)) {}

void HeadersProvider::setAuthDataProvider(std::weak_ptr<const AuthDataProvider> authDataProvider) {
  authDataProvider_.withLock([&](auto& current) { current.swap(authDataProvider); });
}

std::shared_ptr<const AuthDataProvider> HeadersProvider::authDataProvider() const {
  return authDataProvider_.withLock([](const auto& current) { return current.lock(); });
}

HTTPHeaders HeadersProvider::getHTTPHeaders() const {
  HTTPHeaders headers = headers_.common();
  std::string cookies;
  if (const auto provider = authDataProvider()) {
    if (const auto authData = provider->authData()) {
      addCookie(cookies, HTTPCookieName::authToken, authData->authToken);
      if (authData->csrfToken) {
        headers.set(HTTPHeaderName::csrfToken, *authData->csrfToken);
        addCookie(cookies, HTTPCookieName::csrfToken, *authData->csrfToken);
      }
    }
    if (const auto trustedDeviceID = provider->trustedDeviceID()) {
      addCookie(cookies, HTTPCookieName::trustedDeviceID, *trustedDeviceID);
    }
  }
  if (!cookies.empty()) headers.set(HTTPHeaderName::cookie, std::move(cookies));
  headers_.attachEnrollment(headers);
  return headers;
}

bool HeadersProvider::hasTrustedDeviceID() const {
  const auto provider = authDataProvider();
  return provider && provider->trustedDeviceID().has_value();
}

bool HeadersProvider::hasAuthHeaders() const {
  const auto provider = authDataProvider();
  return provider && provider->authData().has_value();
}

}  // namespace lx
