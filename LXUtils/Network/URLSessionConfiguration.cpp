#include "LXUtils/Network/URLSessionConfiguration.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>

#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Network/HTTPHeaders.h"
#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {
namespace {

bool isCount(std::size_t count) { return count > 0 && count <= std::numeric_limits<int>::max(); }

bool isProxy(const std::string& text) {
  const auto url = URL::makeAbsolute(text);
  if (!url || url->host().empty()) return false;
  return std::ranges::any_of(std::initializer_list{"http", "https", "socks4", "socks4a", "socks5", "socks5h"},
                             [&](auto scheme) { return equalIgnoringCase(url->scheme(), scheme); });
}

bool isHostAndPort(const std::string& text) {
  const auto url = URL::make("http://" + text);
  if (!url || url->user() || !url->path().empty() || url->query() || url->fragment()) return false;
  return !url->host().contains('%') && url->port().value_or(0) > 0;
}

bool holdsCertificates(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("-----BEGIN ") && line.contains("CERTIFICATE")) return true;
  }
  return false;
}

}  // namespace

Result<void> URLSessionConfiguration::validate() const {
  const auto invalid = [](const char* field, const char* expected) {
    return fail(URLSessionConfigurationError{field, expected});
  };
  if (timeout.count() <= 0) return invalid("timeout", "a positive time");
  if (callTimeout && callTimeout->count() <= 0) return invalid("callTimeout", "a positive time");
  if (connectTimeout.count() <= 0) return invalid("connectTimeout", "a positive time");
  if (!isCount(maximumIdleConnections)) return invalid("maximumIdleConnections", "a positive number");
  if (!isCount(maximumConnections)) return invalid("maximumConnections", "a positive number");
  if (proxy && !isProxy(*proxy)) return invalid("proxy", "an http, https or socks URL with a host");
  if (caFile && !holdsCertificates(*caFile)) return invalid("caFile", "a readable PEM file with certificates");
  if (connectTo && !isHostAndPort(*connectTo)) return invalid("connectTo", "HOST:PORT");
  if (userAgent && (userAgent->empty() || !isFieldValue(*userAgent))) {
    return invalid("userAgent", "a text without CR, LF and NUL");
  }
  return {};
}

std::string URLSessionConfigurationError::typeName() const { return "URLSessionConfigurationError." + field; }

std::string URLSessionConfigurationError::description() const {
  return "The session's " + field + " must be " + expected;
}

}  // namespace lx
