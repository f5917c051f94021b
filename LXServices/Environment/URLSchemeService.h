#pragma once

#include <string>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// The app's own URL scheme and the address in it that sign-in in a browser comes back to.
class URLSchemeService {
 public:
  /// Takes the scheme without "://". One that cannot form a URL is a fault of the build's configuration and ends the
  /// process.
  explicit URLSchemeService(std::string lexiconiaURLScheme);

  const std::string& lexiconiaURLScheme() const { return lexiconiaURLScheme_; }

  /// The scheme with the host "oauth" and no path.
  const URL& oauthURL() const { return oauthURL_; }

 private:
  std::string lexiconiaURLScheme_;
  URL oauthURL_;
};

}  // namespace lx
