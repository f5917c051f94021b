#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2RequestAuthorizer.h"

#include <utility>

namespace lx {

std::shared_ptr<OAuth2RequestAuthorizer> OAuth2RequestAuthorizer::make(
    std::shared_ptr<OAuth2CredentialsProvider> oauth2CredentialsProvider,
    std::shared_ptr<const URLRequestSignerOAuth2> requestSigner) {
  return std::shared_ptr<OAuth2RequestAuthorizer>(
      new OAuth2RequestAuthorizer(std::move(requestSigner), std::move(oauth2CredentialsProvider)));
}

OAuth2RequestAuthorizer::OAuth2RequestAuthorizer(std::shared_ptr<const URLRequestSignerOAuth2> requestSigner,
                                                 std::shared_ptr<OAuth2CredentialsProvider> oauth2CredentialsProvider)
    : requestSigner_(std::move(requestSigner)), oauth2CredentialsProvider_(std::move(oauth2CredentialsProvider)) {}

void OAuth2RequestAuthorizer::authorize(URLRequest request, Completion<URLRequest> callback) {
  oauth2CredentialsProvider_->getOAuth2Credentials(
      [self = weak_from_this(), request = std::move(request),
       callback = std::move(callback)](Result<OAuth2Credentials> credentials) mutable {
        const auto alive = self.lock();
        if (!alive) return;
        if (!credentials) return callback(fail(credentials.error()));
        alive->requestSigner_->sign(std::move(request), credentials->accessToken, std::move(callback));
      });
}

}  // namespace lx
