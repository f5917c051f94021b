#include "LXUtils/Network/RedirectPolicyInternal.h"

#include <string>

#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Foundation/URLInternal.h"
#include "LXUtils/Network/RequestRulesInternal.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {
namespace {

bool isRedirect(int statusCode) {
  return statusCode == 301 || statusCode == 302 || statusCode == 303 || statusCode == 307 || statusCode == 308;
}

bool isFollowed(const URLRequest& request) {
  return (request.method == HTTPMethod::get || request.method == HTTPMethod::head) && !request.body;
}

bool belongsToOrigin(std::string_view name) {
  for (const std::string_view own : {"Authorization", "Cookie", "Host", "Proxy-Authorization"}) {
    if (equalIgnoringCase(name, own)) return true;
  }
  return name.size() >= 2 && equalIgnoringCase(name.substr(0, 2), "X-");
}

/// The reference with all percent-encoded that its path, query and fragment may not hold, such as blanks and letters
/// outside ASCII, which servers send as they are. Its authority is left alone: a blank in it is a fault.
std::string encodedReference(std::string_view location) {
  constexpr CharacterSet escapes("%");
  URLParts parts = splitURL(location);
  const auto path = percentEncode(parts.path, CharacterSet::urlPathAllowed | escapes);
  const auto query = percentEncode(parts.query.value_or(""), CharacterSet::urlQueryAllowed | escapes);
  const auto fragment = percentEncode(parts.fragment.value_or(""), CharacterSet::urlQueryAllowed | escapes);
  parts.path = path;
  if (parts.query) parts.query = query;
  if (parts.fragment) parts.fragment = fragment;
  return parts.compose();
}

}  // namespace

Result<std::optional<URL>> redirectTarget(const URLRequest& request, int statusCode, const HTTPHeaders& headers,
                                          int redirects) {
  if (!isRedirect(statusCode) || !isFollowed(request)) return std::nullopt;
  const auto location = headers.value(HTTPHeaderName::location);
  if (!location) return std::nullopt;
  if (redirects >= maximumRedirects) return fail(URLSessionError{URLSessionError::Kind::tooManyRedirects, {}});

  const URL& url = *request.url;
  auto target = url.resolving(encodedReference(*location));
  if (!target || !isSendable(*target)) {
    return fail(URLSessionError{URLSessionError::Kind::redirectRefused, "to what is no http or https URL"});
  }
  if (equalIgnoringCase(url.scheme(), "https") && !equalIgnoringCase(target->scheme(), "https")) {
    return fail(URLSessionError{URLSessionError::Kind::redirectRefused, "from https to http"});
  }
  // RFC 9110, section 10.2.2: a fragment is inherited.
  if (url.fragment() && !target->fragment()) {
    target = URL::make(target->string() + "#" + std::string(*url.fragment()));
    if (!target) return fail(URLSessionError{URLSessionError::Kind::redirectRefused, "to what is no URL"});
  }
  return std::optional(std::move(*target));
}

void dropHeadersOfOrigin(HTTPHeaders& headers) {
  HTTPHeaders kept;
  for (const auto& [name, value] : headers.fields()) {
    if (!belongsToOrigin(name)) kept.add(name, value);
  }
  headers = std::move(kept);
}

}  // namespace lx
