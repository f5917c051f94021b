#pragma once

#include <optional>
#include <string>

namespace lx {

/// A role of the app's credentials store.
class TDICredentialsProvider {
 public:
  virtual ~TDICredentialsProvider() = default;

  /// The trusted-device identifier that the backend issued at an earlier sign-in, if any.
  virtual std::optional<std::string> trustedDeviceID() const = 0;
};

}  // namespace lx
