#include "LXUtils/Foundation/FileURL.h"

#include <string>
#include <system_error>

#include "LXUtils/Foundation/PercentEncoding.h"

namespace lx {

Result<URL> fileURL(const std::filesystem::path& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error).native();
  if (error || absolute.contains('\0')) return fail(URLError{URLError::Kind::invalid});
  return URL::makeAbsolute("file://" + percentEncode(absolute, CharacterSet::urlPathAllowed));
}

Result<std::filesystem::path> filePath(const URL& url) {
  const bool isLocal = url.host().empty() || url.host() == "localhost";
  const auto path = percentDecode(url.path());
  if (url.scheme() != "file" || !isLocal || url.query() || url.fragment() || !path || !path->starts_with('/') ||
      path->contains('\0')) {
    return fail(URLError{URLError::Kind::invalid});
  }
  return std::filesystem::path(*path);
}

}  // namespace lx
