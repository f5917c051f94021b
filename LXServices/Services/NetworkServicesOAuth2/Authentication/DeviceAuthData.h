#pragma once

#include <concepts>
#include <optional>
#include <string>

namespace lx {

/// A record that tells which trusted-device identifier the backend issued.
template <class T>
concept DeviceAuthDataProtocol = requires(const T& data) {
  { data.trustedDeviceID } -> std::convertible_to<std::optional<std::string>>;
};

/// What a sign-in learnt about the device.
struct DeviceAuthData {
  std::optional<std::string> trustedDeviceID;

  /// Without an identifier.
  static const DeviceAuthData empty;

  bool operator==(const DeviceAuthData&) const = default;
};

inline const DeviceAuthData DeviceAuthData::empty{};
static_assert(DeviceAuthDataProtocol<DeviceAuthData>);

}  // namespace lx
