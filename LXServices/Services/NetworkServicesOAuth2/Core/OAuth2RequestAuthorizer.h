#pragma once

#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsService.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/URLRequestSignerOAuth2.h"

namespace lx {

/// Signs requests with the credentials service's credentials, which that service refreshes first when they are about to
/// expire. Calls back where the credentials service answers: on the caller's thread while they are valid, on that
/// service's work queue after a refresh. Its errors pass on unchanged.
class OAuth2RequestAuthorizer final : public RequestAuthorizer,
                                      public std::enable_shared_from_this<OAuth2RequestAuthorizer> {
 public:
  static std::shared_ptr<OAuth2RequestAuthorizer> make(
      std::shared_ptr<OAuth2CredentialsProvider> oauth2CredentialsProvider,
      std::shared_ptr<const URLRequestSignerOAuth2> requestSigner);

  void authorize(URLRequest request, Completion<URLRequest> callback) override;

 private:
  OAuth2RequestAuthorizer(std::shared_ptr<const URLRequestSignerOAuth2> requestSigner,
                          std::shared_ptr<OAuth2CredentialsProvider> oauth2CredentialsProvider);

  const std::shared_ptr<const URLRequestSignerOAuth2> requestSigner_;
  const std::shared_ptr<OAuth2CredentialsProvider> oauth2CredentialsProvider_;
};

}  // namespace lx
