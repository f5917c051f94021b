#pragma once

#include <optional>

#include "LXUtils/Network/NetworkResponse.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

inline constexpr int maximumRedirects = 10;

/// Where a response sends the request on to; nothing when the response is the answer. `url` is where the response came
/// from, after `redirects` steps. Errors: URLSessionError `redirectRefused` and `tooManyRedirects`.
Result<std::optional<URL>> redirectTarget(const URLRequest& request, const URL& url, int statusCode,
                                          const HTTPHeaders& headers, int redirects);

/// Takes away what was meant for the origin that a request leaves.
void dropHeadersOfOrigin(HTTPHeaders& headers);

}  // namespace lx
