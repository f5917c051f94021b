#pragma once

#include <curl/curl.h>

namespace lx {

/// Returns a new multi handle whose wake-up sockets are closed in programs that the process starts; null if there is no
/// memory. On one thread.
CURLM* makeCurlMulti();

}  // namespace lx
