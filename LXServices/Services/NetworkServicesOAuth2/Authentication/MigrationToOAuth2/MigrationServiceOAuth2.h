#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsResponse.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// Exchanges a cookie-era token for OAuth2 credentials (RFC 8693, with a JSON body).
class MigrationServiceOAuth2 {
 public:
  virtual ~MigrationServiceOAuth2() = default;

  /// `lxauthToken` is the cookie-era auth token, `tdi` the trusted-device identifier where there is one. Completes on
  /// the network service's delegate queue, with that service's errors unchanged.
  virtual Task<OAuth2CredentialsResponse> migrate(const std::string& lxauthToken,
                                                  const std::optional<std::string>& tdi) = 0;
};

class MigrationServiceOAuth2Impl final : public MigrationServiceOAuth2 {
 public:
  struct MigrationRequestBody {
    std::string grantType;
    std::string subjectTokenType;
    std::string subjectToken;
    std::string clientID;
    std::string scopes;
    std::optional<std::string> deviceID;
  };

  MigrationServiceOAuth2Impl(std::shared_ptr<NetworkService> looseNetworkService,
                             std::shared_ptr<const BackendEnvironment> backendEnvironment, std::string clientVersion);

  Task<OAuth2CredentialsResponse> migrate(const std::string& lxauthToken,
                                          const std::optional<std::string>& tdi) override;

  /// The version of the app that migrates.
  const std::string& clientVersion() const { return clientVersion_; }

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;
    URLRequest migrate(const std::string& lxauthToken, const std::optional<std::string>& tdi) const;
  };

  const std::shared_ptr<NetworkService> looseNetworkService_;
  const std::string clientVersion_;
  const RequestFactory requestFactory_;
};

template <>
struct Coding<MigrationServiceOAuth2Impl::MigrationRequestBody> {
  using Body = MigrationServiceOAuth2Impl::MigrationRequestBody;
  static constexpr auto fields = std::tuple{field("grant_type", &Body::grantType),
                                            field("subject_token_type", &Body::subjectTokenType),
                                            field("subject_token", &Body::subjectToken),
                                            field("client_id", &Body::clientID),
                                            field("scopes", &Body::scopes),
                                            field("device_id", &Body::deviceID)};
};

}  // namespace lx
