#pragma once

#include <optional>

#include "LXUtils/Network/NetworkResponse.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

inline constexpr int maximumRedirects = 10;

/// Where the response to `request`, which is the result of so many redirects, sends it on to; nothing when the response
/// is the answer. Errors: URLSessionError `redirectRefused` and `tooManyRedirects`.
Result<std::optional<URL>> redirectTarget(const URLRequest& request, int statusCode, const HTTPHeaders& headers,
                                          int redirects);

/// Takes away what was meant for the origin that a request leaves.
void dropHeadersOfOrigin(HTTPHeaders& headers);

}  // namespace lx
