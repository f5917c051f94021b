#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lx {

/// The base domains of a deployment.
struct BackendDomains {
  std::string comDomain;                      ///< of almost every host
  std::string ioDomain;                       ///< of the telemetry hosts
  std::optional<std::string> corvaSubdomain;  ///< replaces the Corva host label in the web-socket URL alone

  static const BackendDomains& production();
  static const BackendDomains& staging();
  static const BackendDomains& testing();
  static const BackendDomains& local();
  static const BackendDomains& localPreprod();
  static const BackendDomains& mock();

  /// The QA deployment with the web socket of a dynamic environment.
  static BackendDomains testing(std::string_view dynamicEnvironment);

  /// The fixed presets under their names, in the order above.
  static std::vector<std::pair<std::string_view, BackendDomains>> presets();

  bool operator==(const BackendDomains&) const = default;
};

}  // namespace lx
