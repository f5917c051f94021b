#include "lx/Hints.h"

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthServerErrorInfo.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"
#include "LXUtils/Network/URLSession.h"
#include "LXUtils/Network/URLSessionConfiguration.h"

#include "lx/ToolError.h"

namespace lx::tool {
namespace {

std::string hintFor(const NetworkServiceError& error) {
  if (const auto reason = blockReason(error)) return "The backend blocks this account: " + reason->rawValue + ".";
  const auto* server = error.serverError();
  if (!server) return "The backend does not speak as this library expects; are --domains and --connect-to right?";
  const auto* info = dynamic_cast<const TokenRefreshErrorInfo*>(server->info.get());
  if ((info && info->isInvalidRefreshToken()) || server->response.isUnauthorized()) {
    return "The backend does not accept this sign-in (any more). Sign in again with `lx signin`, or forget it with `lx "
           "logout --local`.";
  }
  return "";
}

std::string hintFor(const URLSessionError& error) {
  switch (error.kind) {
    case URLSessionError::Kind::cannotFindHost:
    case URLSessionError::Kind::cannotConnect:
    case URLSessionError::Kind::connectionLost:
    case URLSessionError::Kind::timedOut:
      return "Is the backend up? `lx backend` starts one for development; --connect-to (or LX_CONNECT_TO) says where.";
    case URLSessionError::Kind::secureConnectionFailed:
      return "The server's certificate is not trusted; --ca-file (or LX_CA_FILE) names the authority to trust.";
    default:
      return "";
  }
}

std::string hintFor(const ToolError& error) {
  switch (error.kind) {
    case ToolError::Kind::noHome:
    case ToolError::Kind::group:
      return "Choose the group's folder with --group (or LX_GROUP).";
    case ToolError::Kind::notStored:
      return "Make room or give write permission in the group's folder; if a command then reports an invalid sign-in, "
             "sign in again with `lx signin`.";
    case ToolError::Kind::secret:
      return "Give the secret itself, - for a line of standard input, or @FILE.";
    case ToolError::Kind::noLegacyData:
      return "Give the cookie-era token with --lxauth (or LX_LXAUTH).";
    default:
      return "";
  }
}

}  // namespace

std::string hintFor(const Error& error) {
  if (error.is(OAuth2Error::credentialsNotFound())) {
    return "Nobody is signed in to this group: use `lx signin`, `lx migrate` or `lx anonymous` first.";
  }
  if (const auto* network = error.as<NetworkServiceError>()) return hintFor(*network);
  if (const auto* session = error.as<URLSessionError>()) return hintFor(*session);
  if (const auto* own = error.as<ToolError>()) return hintFor(*own);
  if (error.as<URLSessionConfigurationError>()) {
    return "--connect-to, --ca-file and the bundle's name set this; so do LX_CONNECT_TO and LX_CA_FILE.";
  }
  if (error.as<FileCredentialsStorageError>()) return "`lx logout --local` starts the group's store afresh.";
  return "";
}

}  // namespace lx::tool
