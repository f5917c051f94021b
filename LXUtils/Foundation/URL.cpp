#include "LXUtils/Foundation/URL.h"

#include <algorithm>
#include <charconv>

#include <uriparser/Uri.h>

#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Foundation/URLInternal.h"

namespace lx {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr int highestPort = 65535;

bool isInGrammar(std::string_view text) {
  UriUriA uri;
  const char* errorPosition = nullptr;
  // uriparser leaves nothing to free when it fails.
  if (uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &errorPosition) != URI_SUCCESS) return false;
  uriFreeUriMembersA(&uri);
  return true;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), lower);
  return result;
}

bool equalWithoutCase(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, {}, lower, lower); }

/// The port of the schemes that need a host.
std::optional<int> defaultPort(std::string_view scheme) {
  for (const auto secure : {"https", "wss"}) {
    if (equalWithoutCase(scheme, secure)) return 443;
  }
  for (const auto open : {"http", "ws"}) {
    if (equalWithoutCase(scheme, open)) return 80;
  }
  return std::nullopt;
}

/// RFC 3986, section 5.2.4.
std::string removingDotSegments(std::string_view path) {
  std::string output;
  const auto dropLast = [&output] {
    const auto slash = output.rfind('/');
    output.resize(slash == npos ? 0 : slash);
  };
  while (!path.empty()) {
    if (path.starts_with("../")) {
      path.remove_prefix(3);
    } else if (path.starts_with("./")) {
      path.remove_prefix(2);
    } else if (path.starts_with("/./")) {
      path.remove_prefix(2);
    } else if (path == "/.") {
      path = "/";
    } else if (path.starts_with("/../")) {
      path.remove_prefix(3);
      dropLast();
    } else if (path == "/..") {
      path = "/";
      dropLast();
    } else if (path == "." || path == "..") {
      path = {};
    } else {
      const auto end = std::min(path.find('/', 1), path.size());
      output += path.substr(0, end);
      path.remove_prefix(end);
    }
  }
  return output;
}

/// RFC 3986, section 5.2.3.
std::string mergedPath(const URLParts& base, std::string_view reference) {
  if (base.authority && base.path.empty()) return "/" + std::string(reference);
  const auto slash = base.path.rfind('/');
  return std::string(base.path.substr(0, slash == npos ? 0 : slash + 1)) + std::string(reference);
}

}  // namespace

std::string URLError::typeName() const {
  switch (kind) {
    case Kind::invalid:
      return "URLError.invalid";
    case Kind::notAbsolute:
      return "URLError.notAbsolute";
    case Kind::invalidPort:
      return "URLError.invalidPort";
    case Kind::emptyHost:
      return "URLError.emptyHost";
    case Kind::invalidComponent:
      return "URLError.invalidComponent";
  }
  return "URLError";
}

std::string URLError::description() const {
  switch (kind) {
    case Kind::invalid:
      return "The text is not a URL.";
    case Kind::notAbsolute:
      return "The URL has no scheme.";
    case Kind::invalidPort:
      return "The port of the URL is out of range.";
    case Kind::emptyHost:
      return "The URL has no host.";
    case Kind::invalidComponent:
      return "The identifier cannot stand in the path of a URL.";
  }
  return {};
}

URLParts splitURL(std::string_view text) {
  URLParts parts;
  if (const auto hash = text.find('#'); hash != npos) {
    parts.fragment = text.substr(hash + 1);
    text = text.substr(0, hash);
  }
  if (const auto mark = text.find('?'); mark != npos) {
    parts.query = text.substr(mark + 1);
    text = text.substr(0, mark);
  }
  if (const auto colon = text.find_first_of(":/"); colon != npos && colon > 0 && text[colon] == ':') {
    parts.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    const auto end = std::min(text.find('/', 2), text.size());
    parts.authority = text.substr(2, end - 2);
    text.remove_prefix(end);
  }
  parts.path = text;
  return parts;
}

std::string URLParts::compose() const {
  std::string text;
  if (scheme) text.append(*scheme).append(":");
  if (authority) text.append("//").append(*authority);
  text.append(path);
  if (query) text.append("?").append(*query);
  if (fragment) text.append("#").append(*fragment);
  return text;
}

URL URL::split(std::string text) {
  URL url;
  url.text_ = std::move(text);
  const auto range = [start = url.text_.data()](std::string_view part) {
    const auto begin = static_cast<std::uint32_t>(part.data() - start);
    return Range{begin, begin + static_cast<std::uint32_t>(part.size())};
  };
  const URLParts parts = splitURL(url.text_);
  if (parts.scheme) url.scheme_ = range(*parts.scheme);
  if (auto host = parts.authority) {
    if (const auto at = host->find('@'); at != npos) {
      url.userInfo_ = range(host->substr(0, at));
      host->remove_prefix(at + 1);
    }
    // A colon inside the brackets of an IP literal is not the port's.
    const auto bracket = host->rfind(']');
    if (const auto colon = host->find(':', bracket == npos ? 0 : bracket); colon != npos) {
      url.port_ = range(host->substr(colon + 1));
      host->remove_suffix(host->size() - colon);
    }
    url.host_ = range(*host);
  }
  url.path_ = range(parts.path);
  if (parts.query) url.query_ = range(*parts.query);
  if (parts.fragment) url.fragment_ = range(*parts.fragment);
  return url;
}

Result<URL> URL::parse(std::string_view text) {
  if (text.size() > maximumLength || !isInGrammar(text)) return fail(URLError{URLError::Kind::invalid});
  URL url = split(std::string(text));
  if (url.port_.present() && !url.view(url.port_).empty() && !url.port()) {
    return fail(URLError{URLError::Kind::invalidPort});
  }
  if (url.host().empty() && defaultPort(url.scheme())) return fail(URLError{URLError::Kind::emptyHost});
  return url;
}

Result<URL> URL::make(std::string_view text) {
  if (text.empty()) return fail(URLError{URLError::Kind::invalid});
  return parse(text);
}

Result<URL> URL::makeAbsolute(std::string_view text) {
  auto url = make(text);
  if (url && !url->isAbsolute()) return fail(URLError{URLError::Kind::notAbsolute});
  return url;
}

std::optional<std::string_view> URL::user() const {
  const auto info = optionalView(userInfo_);
  return info ? std::optional(info->substr(0, info->find(':'))) : std::nullopt;
}

std::optional<std::string_view> URL::password() const {
  const auto info = view(userInfo_);
  const auto colon = info.find(':');
  return colon == npos ? std::nullopt : std::optional(info.substr(colon + 1));
}

std::optional<int> URL::port() const {
  const auto digits = view(port_);
  int port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (digits.empty() || error != std::errc() || port > highestPort) return std::nullopt;
  return port;
}

std::optional<int> URL::effectivePort() const {
  const auto written = port();
  return written ? written : defaultPort(scheme());
}

URLOrigin URL::origin() const { return {lowerCase(scheme()), lowerCase(host()), effectivePort()}; }

bool sameOrigin(const URL& a, const URL& b) {
  return equalWithoutCase(a.scheme(), b.scheme()) && equalWithoutCase(a.host(), b.host()) &&
         a.effectivePort() == b.effectivePort();
}

Result<URL> URL::resolving(std::string_view reference) const {
  if (!isAbsolute()) return fail(URLError{URLError::Kind::notAbsolute});
  const auto parsed = parse(reference);
  if (!parsed) return parsed;
  const URLParts base = splitURL(text_);
  // RFC 3986, section 5.2.2. uriparser could resolve too, but it rewrites the hosts that are IP addresses, and a
  // redirect to "/path" would then look like one to another origin.
  URLParts target = splitURL(parsed->text_);
  std::string path(target.path);
  const bool ownPath = target.scheme || target.authority || !path.empty();
  if (!target.scheme && !target.authority) {
    target.authority = base.authority;
    if (path.empty()) {
      path = base.path;
      if (!target.query) target.query = base.query;
    } else if (!path.starts_with('/')) {
      path = mergedPath(base, path);
    }
  }
  if (!target.scheme) target.scheme = base.scheme;
  if (ownPath) path = removingDotSegments(path);
  // What dot segments leave must not be taken for an authority.
  if (!target.authority && path.starts_with("//")) path.insert(0, "/.");
  target.path = path;
  return makeAbsolute(target.compose());
}

URL URL::appendingEncodedPath(std::string_view encoded) const {
  URLParts parts = splitURL(text_);
  const auto kept = parts.path.find_last_not_of('/');
  const std::string path = std::string(parts.path.substr(0, kept == npos ? 0 : kept + 1)) + "/" + std::string(encoded);
  parts.path = path;
  return split(parts.compose());
}

URL URL::appendingPath(std::string_view path) const {
  if (path.empty()) return *this;
  const auto first = path.find_first_not_of('/');
  return appendingEncodedPath(percentEncode(path.substr(std::min(first, path.size())), CharacterSet::urlPathAllowed));
}

Result<URL> URL::appendingPathComponent(std::string_view identifier) const {
  if (identifier.empty() || identifier == "." || identifier == "..") {
    return fail(URLError{URLError::Kind::invalidComponent});
  }
  return appendingEncodedPath(percentEncode(identifier, CharacterSet::urlPathComponentAllowed));
}

}  // namespace lx
