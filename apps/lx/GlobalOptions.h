#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "LXServices/Environment/BackendDomains.h"

namespace lx::tool {

/// What every command may be told.
struct GlobalOptions {
  std::optional<std::string> group = {};       ///< the group's folder; that of the user when absent
  std::optional<std::string> bundleFile = {};  ///< an information property list; the tool's own settings when absent
  BackendDomains domains = BackendDomains::production();
  std::string surface = "iOSApp";  ///< the name of a preset
  std::optional<std::string> connectTo = {};
  std::optional<std::string> caFile = {};
  bool json = false;
  bool reveal = false;
  std::optional<int> logLevel = {};
  std::optional<std::chrono::milliseconds> timeout = {};  ///< of each call, all its attempts included; none if absent
};

}  // namespace lx::tool
