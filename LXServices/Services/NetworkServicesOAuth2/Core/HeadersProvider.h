#pragma once

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/StandardHeaders.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Network/NetworkInterfaces.h"

namespace lx {

/// The signed-in user's cookie-era authentication. Implemented by the app; any thread.
class AuthDataProvider {
 public:
  virtual ~AuthDataProvider() = default;
  virtual std::optional<UserAuthData> authData() const = 0;
  virtual std::optional<std::string> trustedDeviceID() const = 0;
};

/// The standard headers of the cookie-era stack: those of the client, and the user's authentication as cookies.
class HeadersProvider final : public RequestAuthorizerHeadersProvider {
 public:
  HeadersProvider(std::shared_ptr<const AppService> appService,
                  std::shared_ptr<const BackendEnvironment> backendEnvironment,
                  std::optional<std::string> lexiconiaEnrollmentToken);

  /// Held weakly; may be cleared at any time. Without it requests go out without cookies.
  void setAuthDataProvider(std::weak_ptr<const AuthDataProvider> authDataProvider);

  HTTPHeaders getHTTPHeaders() const override;
  bool hasTrustedDeviceID() const override;
  bool hasAuthHeaders() const override;

 private:
  std::shared_ptr<const AuthDataProvider> authDataProvider() const;

  StandardHeaders headers_;
  Protected<std::weak_ptr<const AuthDataProvider>> authDataProvider_;
};

}  // namespace lx
