#pragma once

#include <memory>
#include <string>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// Obtains credentials for a user who is not signed in.
class AnonymousServiceOAuth2 {
 public:
  virtual ~AnonymousServiceOAuth2() = default;

  /// Completes on the main queue, with the network service's errors unchanged. Nothing is stored.
  virtual Task<OAuth2Credentials> authenticateAnonymous() = 0;
};

class AnonymousServiceOAuth2Impl final : public AnonymousServiceOAuth2 {
 public:
  struct AnonymousTokenRequestBody {
    std::string clientID;
    std::string grantType;
  };

  AnonymousServiceOAuth2Impl(std::shared_ptr<const BackendEnvironment> backendEnvironment,
                             std::shared_ptr<NetworkService> looseNetworkService,
                             std::shared_ptr<Clock> clock = Clock::system());

  Task<OAuth2Credentials> authenticateAnonymous() override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;
    URLRequest authenticateAnonymous() const;
  };

  const std::shared_ptr<NetworkService> looseNetworkService_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

template <>
struct Coding<AnonymousServiceOAuth2Impl::AnonymousTokenRequestBody> {
  using Body = AnonymousServiceOAuth2Impl::AnonymousTokenRequestBody;
  static constexpr auto fields = std::tuple{field("client_id", &Body::clientID), field("grant_type", &Body::grantType)};
};

}  // namespace lx
