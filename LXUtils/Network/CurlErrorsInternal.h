#pragma once

#include <string_view>

#include <curl/curl.h>

#include "LXUtils/Network/ResponseCollectorInternal.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// The failure of a transfer, about which libcurl left `message` in its error buffer. The details are fixed texts of
/// libcurl, OpenSSL and the system: the message can quote hosts and header lines, and only helps to tell cases apart.
URLSessionError errorOf(CURL* easy, CURLcode code, std::string_view message, ResponseCollector::Fault fault);

}  // namespace lx
