#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "LXUtils/Foundation/Result.h"

#include "lx/GlobalOptions.h"
#include "lx/Output.h"

namespace lx::tool {

// The commands. Each tells its result through `output`; what it returns as an error is told by the caller.

/// Every property, or the one of that name.
Result<void> runEnvironment(const GlobalOptions& global, const Output& output, const std::string& property);
Result<void> runBundle(const Output& output, const std::string& file);

Result<void> runPKCEVerifier(const Output& output, int length);
Result<void> runPKCEChallenge(const Output& output, const std::string& verifier);

struct BackendCommandOptions {
  std::uint16_t port = 0;
  std::string scenarioFile;
  std::string caOut;  ///< where to put the authority's certificate; a temporary file when empty
  std::int64_t tokenLifetime = 3600;
  int refreshGrace = 0;  ///< milliseconds
  bool quiet = false;    ///< without a line for each request
};
/// Until SIGINT or SIGTERM.
Result<void> runBackend(const Output& output, const BackendCommandOptions& options);

Result<void> runTokenShow(const GlobalOptions& global, const Output& output);
/// As many callers at once want credentials. A line for each.
Result<void> runTokenGet(const GlobalOptions& global, const Output& output, int callers);
Result<void> runTokenRefresh(const GlobalOptions& global, const Output& output);
Result<void> runTokenRevoke(const GlobalOptions& global, const Output& output);

struct SignInOptions {
  std::string code = {};  ///< one of code, google and apple is there
  std::string verifier = {};
  std::string google = {};
  std::string apple = {};
  std::optional<std::string> name = {};
  std::optional<std::string> email = {};
};
Result<void> runSignIn(const GlobalOptions& global, const Output& output, const SignInOptions& options);
Result<void> runAnonymous(const GlobalOptions& global, const Output& output);
/// With the stored cookie-era data when no token is given.
Result<void> runMigrate(const GlobalOptions& global, const Output& output, const std::string& lxauth);

struct UserOptions {
  bool version3 = false;
  bool role = false;  ///< of version 3 only
};
Result<void> runUser(const GlobalOptions& global, const Output& output, const UserOptions& options);
/// `localOnly`: forgets the sign-in without asking the backend.
Result<void> runLogout(const GlobalOptions& global, const Output& output, bool localOnly);

struct RenderOptions {
  std::string file = {};  ///< standard input for "-"
  bool html = false;
};
/// A Delta document for people, as a page, or with --json its lines and lists.
Result<void> runRender(const Output& output, const RenderOptions& options);

Result<void> runDemo(const Output& output);

}  // namespace lx::tool
