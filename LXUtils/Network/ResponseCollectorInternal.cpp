#include "LXUtils/Network/ResponseCollectorInternal.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {

void ResponseCollector::reset(std::size_t maximumBodySize) {
  headers_ = {};
  body_.reset();
  maximumBodySize_ = maximumBodySize;
  headerBytes_ = 0;
  interim_ = true;
  complete_ = false;
  overflow_ = Overflow::none;
}

bool ResponseCollector::takeHeaderLine(std::string_view line) {
  headerBytes_ += line.size();
  if (headerBytes_ > maximumHeaderBytes) overflow_ = Overflow::headers;
  if (overflow_ != Overflow::none) return false;
  if (complete_) return true;

  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  if (line.empty()) {
    complete_ = !interim_;
    return true;
  }
  if (line.starts_with("HTTP/")) {
    headers_ = {};
    const auto blank = line.find(' ');
    interim_ = blank != std::string_view::npos && line.substr(blank + 1).starts_with('1');
    return true;
  }
  const auto colon = line.find(':');
  // What has no name is no field; the continuation of a folded one (obsolete, RFC 9112, section 5.2) is dropped.
  if (colon == std::string_view::npos || colon == 0 || line.front() == ' ' || line.front() == '\t') return true;
  if (headers_.fields().size() == maximumHeaderFields) {
    overflow_ = Overflow::headers;
    return false;
  }
  headers_.add(trimmedFieldValue(line.substr(0, colon)), std::string(trimmedFieldValue(line.substr(colon + 1))));
  return true;
}

bool ResponseCollector::takeBody(std::span<const std::byte> chunk) {
  if (chunk.size() > maximumBodySize_ - bodySize()) overflow_ = Overflow::body;
  if (overflow_ != Overflow::none) return false;
  if (chunk.empty()) return true;
  if (!body_) {
    body_.emplace();
    reserveBody();
  }
  body_->insert(body_->end(), chunk.begin(), chunk.end());
  return true;
}

// The announced size is only a hint, and a hostile one may be far from what comes.
void ResponseCollector::reserveBody() {
  constexpr std::size_t largestTrusted = std::size_t{1} << 20;
  const auto announced = headers_.value(HTTPHeaderName::contentLength);
  std::size_t size = 0;
  if (!announced || std::from_chars(announced->data(), announced->data() + announced->size(), size).ec != std::errc{}) {
    return;
  }
  body_->reserve(std::min({size, maximumBodySize_, largestTrusted}));
}

}  // namespace lx
