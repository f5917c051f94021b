#include "LXUtils/Network/ResponseCollectorInternal.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {
namespace {

/// The elements of a list over all lines of that name (RFC 9110, section 5.6.1).
std::vector<std::string_view> elementsOf(const HTTPHeaders& headers, HTTPHeaderName name) {
  std::vector<std::string_view> elements;
  for (auto rest : headers.values(name)) {
    while (!rest.empty()) {
      const auto comma = std::min(rest.find(','), rest.size());
      const auto element = trimmedFieldValue(rest.substr(0, comma));
      if (!element.empty()) elements.push_back(element);
      rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
  }
  return elements;
}

bool isOnly(const std::vector<std::string_view>& elements, std::string_view name) {
  return elements.size() == 1 && equalIgnoringCase(elements.front(), name);
}

}  // namespace

void ResponseCollector::reset(std::size_t maximumBodySize) {
  headers_ = {};
  body_ = Data();
  maximumBodySize_ = maximumBodySize;
  headerBytes_ = 0;
  interim_ = true;
  complete_ = false;
  isGzip_ = false;
  fault_ = Fault::none;
}

// Called by libcurl, through whose frames no exception may pass.
bool ResponseCollector::takeHeaderLine(std::string_view line) try {
  headerBytes_ += line.size();
  if (headerBytes_ > maximumHeaderBytes) fault_ = Fault::headers;
  if (fault_ != Fault::none) return false;
  if (complete_) return true;

  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  if (line.empty()) {
    headersEnded();
    return fault_ == Fault::none;
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
    fault_ = Fault::headers;
    return false;
  }
  headers_.add(trimmedFieldValue(line.substr(0, colon)), std::string(trimmedFieldValue(line.substr(colon + 1))));
  return true;
} catch (const std::bad_alloc&) {
  fault_ = Fault::memory;
  return false;
}

// Every block is checked, since libcurl would also decode a body by what an interim response says of its transfer.
void ResponseCollector::headersEnded() {
  const auto content = elementsOf(headers_, HTTPHeaderName::contentEncoding);
  const auto transfer = elementsOf(headers_, HTTPHeaderName::transferEncoding);
  isGzip_ = isOnly(content, "gzip");
  if ((!content.empty() && !isGzip_) || (!transfer.empty() && !isOnly(transfer, "chunked"))) fault_ = Fault::coding;
  complete_ = !interim_;
}

bool ResponseCollector::takeBody(std::span<const std::byte> chunk) {
  if (chunk.size() > maximumBodySize_ - body_.size()) fault_ = Fault::body;
  if (fault_ != Fault::none) return false;
  if (!makeRoom(chunk.size())) {
    fault_ = Fault::memory;
    return false;
  }
  body_.insert(body_.end(), chunk.begin(), chunk.end());
  return true;
}

std::shared_ptr<const Data> ResponseCollector::releaseBody() {
  return body_.empty() ? nullptr : std::make_shared<const Data>(std::exchange(body_, Data()));
}

// A hostile announcement may be far from what comes: it counts in full only after the first part of the body has come.
bool ResponseCollector::makeRoom(std::size_t size) {
  constexpr std::size_t largestFirst = std::size_t{1} << 20;
  const auto needed = body_.size() + size;
  if (needed <= body_.capacity()) return true;
  std::size_t announced = 0;
  if (const auto text = headers_.value(HTTPHeaderName::contentLength)) {
    std::from_chars(text->data(), text->data() + text->size(), announced);
  }
  if (body_.empty()) announced = std::min(announced, largestFirst);
  try {
    body_.reserve(std::max(needed, std::min(std::max(announced, 2 * body_.capacity()), maximumBodySize_)));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace lx
