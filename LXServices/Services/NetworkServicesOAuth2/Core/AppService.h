#pragma once

#include <string>

#include "LXServices/BundleSettings.h"

namespace lx {

/// What the library asks of the app that it is built into. Implemented by the app; any thread.
class AppService {
 public:
  virtual ~AppService() = default;
  virtual std::string clientVersion() const = 0;
  virtual std::string containerID() const = 0;
  virtual const BundleSettings& bundleSettings() const = 0;
};

}  // namespace lx
