#pragma once

#include <string>

#include "lx/Stack.h"

namespace lx::tool {

/// What a browser brings back to the app after a sign-in.
struct BrowserRedirect {
  std::string code;
  std::string state;
};

/// Does what a person does in a browser: opens the authorization page, chooses the user, and follows to the app.
/// Throws TourFailure.
BrowserRedirect signInWithBrowser(Stack& stack, const std::string& user, const std::string& codeChallenge,
                                  const std::string& state);

}  // namespace lx::tool
