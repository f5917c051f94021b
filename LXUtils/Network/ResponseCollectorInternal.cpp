#include "LXUtils/Network/ResponseCollectorInternal.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {

void ResponseCollector::reset(std::size_t maximumBodySize) {
  headers_ = {};
  body_ = Data();
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
  if (chunk.size() > maximumBodySize_ - body_.size()) overflow_ = Overflow::body;
  if (overflow_ != Overflow::none) return false;
  makeRoom(chunk.size());
  body_.insert(body_.end(), chunk.begin(), chunk.end());
  return true;
}

std::shared_ptr<const Data> ResponseCollector::releaseBody() {
  return body_.empty() ? nullptr : std::make_shared<const Data>(std::exchange(body_, Data()));
}

// A hostile announcement may be far from what comes: it counts in full only after the first part of the body has come.
void ResponseCollector::makeRoom(std::size_t size) {
  constexpr std::size_t largestFirst = std::size_t{1} << 20;
  const auto needed = body_.size() + size;
  if (needed <= body_.capacity()) return;
  std::size_t announced = 0;
  if (const auto text = headers_.value(HTTPHeaderName::contentLength)) {
    std::from_chars(text->data(), text->data() + text->size(), announced);
  }
  if (body_.empty()) announced = std::min(announced, largestFirst);
  body_.reserve(std::max(needed, std::min(std::max(announced, 2 * body_.capacity()), maximumBodySize_)));
}

}  // namespace lx
