#include "LXServices/Services/NetworkServicesOAuth2/Core/URLRequestSignerOAuth2.h"

#include <string>
#include <utility>

#include "LXUtils/Foundation/URLQueryParameters.h"

namespace lx {

std::string signedAccessToken(const URLRequest& request) {
  if (const auto authorization = request.headers.value(HTTPHeaderName::authorization)) {
    const std::string scheme = HTTPHeaderKnownValues::bearer("");
    return std::string(authorization->starts_with(scheme) ? authorization->substr(scheme.size()) : "");
  }
  if (!request.url || !request.url->scheme().starts_with("ws")) return {};
  const auto tokens = URLQueryParameters(*request.url).values(URLQueryParameters::KnownParameters::accessToken);
  return tokens.empty() ? std::string() : tokens.front();
}

URLRequestSignerOAuth2Impl::URLRequestSignerOAuth2Impl(std::shared_ptr<const HeadersProviderOAuth2> headersProvider)
    : headersProvider_(std::move(headersProvider)) {}

void URLRequestSignerOAuth2Impl::sign(URLRequest request, std::string_view accessToken,
                                      std::move_only_function<void(URLRequest)> callback) const {
  const std::string scheme(request.url ? request.url->scheme() : "");
  if (scheme == "http" || scheme == "https") {
    request.headers.attach(headersProvider_->getCommonHTTPHeaders());
    // After the headers, so that no header of the same name takes its place.
    request.headers.set(HTTPHeaderName::authorization, HTTPHeaderKnownValues::bearer(accessToken));
  } else if (scheme == "ws" || scheme == "wss") {
    URLQueryParameters parameters(*request.url);
    parameters.setValue(accessToken, URLQueryParameters::KnownParameters::accessToken);
    request.url = parameters.applied(*request.url);
    request.headers.attach(headersProvider_->getCommonWSSHeaders());
  } else {
    logger_.log(
        4,
        "Received request with scheme for which authorization is not implemented: " + (scheme.empty() ? "nil" : scheme),
        "sign(request:accessToken:callback:)");
  }
  callback(std::move(request));
}

}  // namespace lx
