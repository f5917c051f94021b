#pragma once

#include <filesystem>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

/// The file URL of a path (RFC 8089), which is made absolute first. Bytes that a URL's path may not hold are
/// percent-encoded, so that `filePath` returns the same path. Errors: URLError invalid, for a path with a NUL and one
/// that cannot be made absolute.
Result<URL> fileURL(const std::filesystem::path& path);

/// The path of a file URL. Errors: URLError invalid, if the URL has another scheme, another host than "localhost", a
/// query or a fragment, or if its path is not absolute or holds a NUL.
Result<std::filesystem::path> filePath(const URL& url);

}  // namespace lx
