#pragma once

#include "LXServices/Services/NetworkServicesOAuth2/Core/StandardHeaders.h"
#include "LXUtils/Network/NetworkInterfaces.h"

namespace lx {

/// The standard headers of the OAuth2 stack. Any thread.
class HeadersProviderOAuth2 {
 public:
  virtual ~HeadersProviderOAuth2() = default;

  /// For http and https requests.
  virtual HTTPHeaders getCommonHTTPHeaders() const = 0;

  /// For ws and wss requests.
  virtual HTTPHeaders getCommonWSSHeaders() const = 0;
};

/// Authorization is by bearer token, so this provider never sends cookies. The client's headers are computed on first
/// use; a change of the app's version takes effect with a new provider.
class HeadersProviderOAuth2Impl final : public HeadersProviderOAuth2, public RequestAuthorizerHeadersProvider {
 public:
  HeadersProviderOAuth2Impl(std::shared_ptr<const AppService> appService,
                            std::shared_ptr<const BackendEnvironment> backendEnvironment,
                            std::optional<std::string> lexiconiaEnrollmentToken);

  HTTPHeaders getCommonHTTPHeaders() const override { return commonHeaders(); }
  HTTPHeaders getCommonWSSHeaders() const override { return commonHeaders(); }

  HTTPHeaders getHTTPHeaders() const override { return commonHeaders(); }
  bool hasTrustedDeviceID() const override { return false; }
  bool hasAuthHeaders() const override { return false; }

 private:
  HTTPHeaders commonHeaders() const;

  StandardHeaders headers_;
};

}  // namespace lx
