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
  static const OAuth2Error credentialsNotFound;
  static const OAuth2Error credentialsRefreshWasCancelled;
  static const OAuth2Error credentialsRefreshGenericError;

  int codePrefix() const { return 3; }
  int codeSuffix() const;
  std::string typeName() const;
  std::string description() const;
  bool operator==(const OAuth2Error&) const = default;
};

inline const OAuth2Error OAuth2Error::credentialsNotFound{CredentialsNotFound{}};
inline const OAuth2Error OAuth2Error::credentialsRefreshWasCancelled{CredentialsRefreshWasCancelled{}};
inline const OAuth2Error OAuth2Error::credentialsRefreshGenericError{CredentialsRefreshGenericError{}};

}  // namespace lx
