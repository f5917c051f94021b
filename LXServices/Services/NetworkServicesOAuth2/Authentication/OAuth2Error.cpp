#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"

#include "LXUtils/Foundation/Overloaded.h"

namespace lx {
namespace {

struct Case {
  int suffix;
  const char* name;
  const char* text;
};

Case caseOf(const OAuth2Error& error) {
  return std::visit(Overloaded{
                        [](const OAuth2Error::CredentialsNotFound&) {
                          return Case{1, "credentialsNotFound", "There are no stored credentials"};
                        },
                        [](const OAuth2Error::CredentialsRefreshWasCancelled&) {
                          return Case{2, "credentialsRefreshWasCancelled",
                                      "The refresh of the credentials was cancelled"};
                        },
                        [](const OAuth2Error::CredentialsRefreshGenericError&) {
                          return Case{3, "credentialsRefreshGenericError", "The credentials could not be refreshed"};
                        },
                        [](const OAuth2Error::LockFileCreationFailed&) {
                          return Case{4, "lockFileCreationFailed", "The lock file could not be created"};
                        },
                    },
                    error.reason);
}

}  // namespace

int OAuth2Error::codeSuffix() const { return caseOf(*this).suffix; }

std::string OAuth2Error::typeName() const { return std::string("OAuth2Error.") + caseOf(*this).name; }

std::string OAuth2Error::description() const {
  const std::string text = caseOf(*this).text;
  const auto* lockFile = std::get_if<LockFileCreationFailed>(&reason);
  return lockFile ? text + ": " + lockFile->url.string() : text;
}

}  // namespace lx
