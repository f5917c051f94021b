#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {

/// Tells one call from another that sends an equal request. All copies of a call's request share it: signing and
/// retrying keep it. Any thread.
class RequestIdentity final {
 public:
  /// True once the call was answered or cancelled: nothing more is worth sending for it.
  bool hasEnded() const { return ended_; }

  /// Marks the call as ended. Returns false if it had ended before.
  bool end() { return !ended_.exchange(true); }

 private:
  std::atomic<bool> ended_{false};
};

/// One HTTP (or web-socket opening) request. Equality ignores the identity.
struct URLRequest {
  URLRequest() = default;

  /// A request with its Content-Type header where a content type is given.
  URLRequest(HTTPMethod requestMethod, URL requestURL, std::optional<HTTPContentType> contentType = std::nullopt,
             std::optional<Data> requestBody = std::nullopt)
      : method(requestMethod), url(std::move(requestURL)), body(std::move(requestBody)) {
    if (contentType) headers.set(HTTPHeaderName::contentType, std::string(contentType->rawValue));
  }

  HTTPMethod method = HTTPMethod::get;
  std::optional<URL> url;
  HTTPHeaders headers;
  std::optional<Data> body;

  /// The longest that the whole exchange may take; the session's own limit when absent.
  std::optional<std::chrono::milliseconds> timeout;

  /// Given by the network service to its own copy.
  std::shared_ptr<RequestIdentity> identity;

  bool operator==(const URLRequest& other) const {
    return method == other.method && url == other.url && headers == other.headers && body == other.body &&
           timeout == other.timeout;
  }
};

}  // namespace lx
