#pragma once

#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"
#include "LXServices/Services/UserModel.h"

#include "lx/Commands.h"
#include "lx/Stack.h"

namespace lx::tool {

struct SignedIn {
  OAuth2AuthDTO authDTO;
  std::optional<OAuth2NativeSignonAction> action;  ///< of Google and Apple
  UserModel user;
};

/// Signs in, fetches the user, and leaves all that an app keeps of it in the group's store.
Result<SignedIn> signIn(Stack& stack, const SignInOptions& options);

}  // namespace lx::tool
