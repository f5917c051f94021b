#pragma once

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TDICredentialsProvider.h"

namespace lx {

/// The app's credentials store: one object in the three roles that the stack needs. It is shared by all processes of
/// the app group, so that what one stores the others read.
///
/// The credentials service calls it while it holds its own lock: an implementation must not call back into the stack.
class AuthCredentialsStorage : public OAuth2CredentialsStorage, public UserProvider, public TDICredentialsProvider {};

}  // namespace lx
