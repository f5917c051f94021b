#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "LXServices/Services/NetworkServicesOAuth2/Core/HeadersProviderOAuth2.h"
#include "LXUtils/Logging/Logger.h"

namespace lx {

/// Puts the access token and the standard headers on a request.
class URLRequestSignerOAuth2 {
 public:
  virtual ~URLRequestSignerOAuth2() = default;

  /// Calls back once, before it returns, with the signed request. Never fails.
  virtual void sign(URLRequest request, std::string_view accessToken,
                    std::move_only_function<void(URLRequest)> callback) const = 0;
};

/// The access token that `request` was signed with; empty if it was not signed.
std::string signedAccessToken(const URLRequest& request);

/// By the URL's scheme, compared exactly:
///
/// | scheme      | token                                   | headers                |
/// |-------------|-----------------------------------------|------------------------|
/// | http, https | Authorization: Bearer (RFC 6750, 2.1)   | getCommonHTTPHeaders() |
/// | ws, wss     | query parameter access_token            | getCommonWSSHeaders()  |
///
/// A request with another scheme, or without URL, is logged and passes through as it is.
class URLRequestSignerOAuth2Impl final : public URLRequestSignerOAuth2 {
 public:
  explicit URLRequestSignerOAuth2Impl(std::shared_ptr<const HeadersProviderOAuth2> headersProvider);

  void sign(URLRequest request, std::string_view accessToken,
            std::move_only_function<void(URLRequest)> callback) const override;

 private:
  const std::shared_ptr<const HeadersProviderOAuth2> headersProvider_;
  const Logger logger_ = Logger::oauth2;
};

}  // namespace lx
