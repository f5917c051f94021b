#include "LXServices/Environment/URLSchemeService.h"

#include "LXUtils/Foundation/FatalError.h"
#include "LXUtils/Foundation/URLComponents.h"

namespace lx {
namespace {

URL schemeURL(const std::string& scheme, const std::string& host) {
  URLComponents components;
  components.scheme = scheme;
  components.host = host;
  auto url = components.url();
  if (!url) fatalError("Could not build url scheme URL " + scheme + ":\\" + host);
  return *std::move(url);
}

}  // namespace

URLSchemeService::URLSchemeService(std::string lexiconiaURLScheme)
    : lexiconiaURLScheme_(std::move(lexiconiaURLScheme)), oauthURL_(schemeURL(lexiconiaURLScheme_, "oauth")) {}

}  // namespace lx
