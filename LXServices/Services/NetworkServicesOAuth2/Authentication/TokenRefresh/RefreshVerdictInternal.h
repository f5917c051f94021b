#pragma once

#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/Foundation/Result.h"

// What the store says about a refresh that is under way. Pure: no queue, no lock, no log.

namespace lx {

/// How the stored credentials compare with those that a refresh was started with.
enum class StoreView {
  same,             ///< neither token differs
  movedOn,          ///< others, which need no refresh
  movedOnExpiring,  ///< others, which need a refresh themselves
  absent,           ///< none: the user has signed out
  unreadable,       ///< there may be any, for example those of a later version
};

/// What has happened to a refresh when the store is looked at.
enum class RefreshMoment {
  lockTaken,       ///< after waiting for another process, or with credentials that are noted as exchanged
  answerArrived,   ///< new credentials came from the token endpoint or from the exchange of fallback credentials
  tokenInvalid,    ///< the server calls the refresh token invalid
  exchangeFailed,  ///< the exchange of fallback credentials failed
  successHeard,    ///< while waiting: a process posted a success
  failureHeard,    ///< while waiting: a process posted a failure
  stillHeld,       ///< while waiting: another process holds the lock
  boundReached,    ///< while waiting: another process has held the lock for too long
};

/// What follows for the refresh.
enum class RefreshVerdict {
  goOn,            ///< the store changes nothing: what the moment leads to by itself happens
  take,            ///< the stored credentials are the result
  refreshStored,   ///< the stored credentials are refreshed in the place of those that the refresh was started with
  failNotFound,    ///< the refresh fails with OAuth2Error::credentialsNotFound
  failUnreadable,  ///< the refresh fails with the store's error; nothing is given up
};

using StoredCredentials = Result<std::optional<OAuth2Credentials>>;

/// The view of `stored` for a refresh of `credentials` at the time `now`.
StoreView viewOf(const StoredCredentials& stored, const OAuth2Credentials& credentials, Date now);

/// The one table of all decisions that depend on the store.
RefreshVerdict verdictFor(RefreshMoment moment, StoreView view);

}  // namespace lx
