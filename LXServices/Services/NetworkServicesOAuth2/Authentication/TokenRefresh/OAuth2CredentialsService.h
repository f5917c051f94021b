#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/Concurrency/Task.h"

namespace lx {

class SilentAuthorizationManagerOAuth2;

/// Gives the signed-in user's credentials to whoever signs a request.
class OAuth2CredentialsProvider {
 public:
  virtual ~OAuth2CredentialsProvider() = default;

  /// False when the store says that there are none. A store that cannot be read does not say so.
  virtual bool hasCredentials() = 0;

  /// Completes with credentials that do not expire within the next minute, after a refresh where one is needed. An
  /// answer that is due at once (valid credentials, none at all) comes on the caller's thread before the call returns,
  /// all others on the service's work queue. Errors: OAuth2Error, those of the store, those of the refresh;
  /// RuntimeError, at once, when the library's threads cannot be started.
  virtual void getOAuth2Credentials(Completion<OAuth2Credentials> completion) = 0;
};

/// Refreshes the credentials whatever their expiry.
class OAuth2CredentialsRefresher {
 public:
  virtual ~OAuth2CredentialsRefresher() = default;

  /// Joins the refresh that is under way, or starts one. Completes as getOAuth2Credentials does.
  virtual void refreshOAuth2Credentials(Completion<void> completion) = 0;

  /// Refreshes the credentials because the server has rejected `accessToken`. If others are stored by now, completes
  /// at once without a refresh: a rejection that comes late is no reason to refresh again. The default always
  /// refreshes.
  virtual void refreshRejectedOAuth2Credentials(std::string_view accessToken, Completion<void> completion) {
    static_cast<void>(accessToken);
    refreshOAuth2Credentials(std::move(completion));
  }
};

/// Implemented by the app.
class OAuth2CredentialsServiceDelegate {
 public:
  virtual ~OAuth2CredentialsServiceDelegate() = default;

  /// The credentials cannot be restored: sign the user out. Called on the main queue; the service itself deletes
  /// nothing.
  virtual void oauth2CredentialsServiceDidRequestLogout() = 0;
};

/// The owner of the signed-in user's OAuth2 credentials in a process. Any thread.
class OAuth2CredentialsService : public OAuth2CredentialsProvider, public OAuth2CredentialsRefresher {
 public:
  virtual std::shared_ptr<OAuth2CredentialsServiceDelegate> delegate() const = 0;

  /// Held weakly.
  virtual void setDelegate(std::weak_ptr<OAuth2CredentialsServiceDelegate> delegate) = 0;

  /// Cancels the refresh that is under way, whose callers fail with OAuth2Error::credentialsRefreshWasCancelled, and
  /// revokes the stored refresh token at the backend. The stored credentials stay. Completes with the revocation's
  /// outcome on the main queue, or at once with OAuth2Error::credentialsNotFound or a RuntimeError.
  virtual Task<void> revokeCredentials() = 0;

  virtual void setSilentAuthorizationManager(std::shared_ptr<SilentAuthorizationManagerOAuth2> manager) = 0;
};

}  // namespace lx
