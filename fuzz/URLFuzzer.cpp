#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Foundation/URLComponents.h"
#include "LXUtils/Foundation/URLQueryParameters.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

/// A URL that was made without asking the grammar again must be in it, with the same components.
void requireValid(const lx::URL& url) {
  const auto again = lx::URL::make(url.string());
  require(again && again->path() == url.path() && again->query() == url.query() && again->host() == url.host());
}

}  // namespace

/// The input is a URL and, after a line feed, a reference to be resolved against it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto line = text.find('\n');
  const auto rest = line == text.npos ? std::string_view() : text.substr(line + 1);
  const auto url = lx::URL::make(text.substr(0, line));
  if (!url) return 0;
  requireValid(*url);
  requireValid(url->appendingPath(rest.empty() ? "/" : rest));
  if (const auto child = url->appendingPathComponent(rest)) requireValid(*child);

  lx::URLQueryParameters parameters(*url);
  if (!parameters.isEmpty()) require(parameters.applied(*url) == *url);
  parameters.setValue(rest, "access_token");
  const auto signedURL = parameters.applied(*url);
  requireValid(signedURL);
  require(lx::URLQueryParameters(signedURL).first("access_token") == rest);

  const auto components = lx::URLComponents::make(*url);
  require(components.has_value());
  (void)components->queryItems();
  if (const auto rebuilt = components->url())
    require(rebuilt->path() == url->path() && rebuilt->query() == url->query());

  if (const auto resolved = url->resolving(rest)) {
    requireValid(*resolved);
    require(resolved->isAbsolute());
  }
  return 0;
}
