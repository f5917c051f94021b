#pragma once

#include <curl/curl.h>

#include "LXUtils/Network/ResponseCollectorInternal.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// The failure of a transfer. Its details are fixed texts of libcurl, OpenSSL and the system: libcurl's own error
/// buffer would quote hosts and header lines.
URLSessionError errorOf(CURL* easy, CURLcode code, ResponseCollector::Overflow overflow);

}  // namespace lx
