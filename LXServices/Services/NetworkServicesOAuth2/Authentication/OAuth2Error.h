#pragma once

#include <string>
#include <utility>
#include <variant>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// The errors of the credentials service. Codes "3-1" to "3-4".
struct OAuth2Error {
  struct LockFileCreationFailed {
    URL url;  ///< of the lock file
    bool operator==(const LockFileCreationFailed&) const = default;
  };
  struct CredentialsNotFound {
    bool operator==(const CredentialsNotFound&) const = default;
  };
  struct CredentialsRefreshWasCancelled {
    bool operator==(const CredentialsRefreshWasCancelled&) const = default;
  };
  struct CredentialsRefreshGenericError {
    bool operator==(const CredentialsRefreshGenericError&) const = default;
  };

  std::variant<LockFileCreationFailed, CredentialsNotFound, CredentialsRefreshWasCancelled,
               CredentialsRefreshGenericError>
      reason;

  static OAuth2Error lockFileCreationFailed(URL url) { return {LockFileCreationFailed{std::move(url)}}; }
  static OAuth2Error credentialsNotFound() { return {CredentialsNotFound{}}; }
  static OAuth2Error credentialsRefreshWasCancelled() { return {CredentialsRefreshWasCancelled{}}; }
  static OAuth2Error credentialsRefreshGenericError() { return {CredentialsRefreshGenericError{}}; }

  int codePrefix() const { return 3; }
  int codeSuffix() const;
  std::string typeName() const;
  std::string description() const;
  bool operator==(const OAuth2Error&) const = default;
};

}  // namespace lx
