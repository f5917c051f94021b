#pragma once

#include <memory>

#include "LXUtils/Network/URLSession.h"
#include "LXUtils/Network/URLSessionConfiguration.h"

namespace lx {

class CurlEngine;

/// The session that sends over the network. All its requests share its connections, which are kept. Any thread.
///
/// Sends http and https, over TLS 1.2 or later with the peer's certificate and name always checked. A response's
/// headers are those of the last response alone: none of an interim response, of a redirect that was followed or of a
/// proxy.
///
/// A body may come compressed once with gzip. It is decompressed in steps between which other requests proceed, and the
/// headers stay as they were sent. Any other content or transfer coding fails as `badServerResponse` when the headers
/// are complete.
///
/// Redirects (301, 302, 303, 307, 308) of GET and HEAD without a body are followed, at most 10 of them, all within the
/// one time-out; other methods and redirects without a Location get the response itself. From https to http, and to
/// what is no http(s) URL, is refused. `Authorization`, `Cookie`, `Host` and all `X-` headers are dropped for good at
/// the first step to another origin.
///
/// Framing is the session's business: `Content-Length`, `Transfer-Encoding` and `Expect` of a request are not passed
/// on. A POST or PATCH is sent at most once, also when a kept connection turns out to be dead.
class CurlURLSession final : public URLSession {
 public:
  /// Errors: URLSessionConfigurationError.
  static Result<std::shared_ptr<URLSession>> make(URLSessionConfiguration configuration = {});

  /// What is under way ends as cancelled, shortly after, on the session's thread.
  ~CurlURLSession() override;

  /// Nothing is sent of a request without an absolute http(s) URL, with user information in it, or with a header whose
  /// name is no token or whose value holds CR, LF or NUL. It fails as `invalidRequest`. If the library's threads cannot
  /// be started, the request fails with RuntimeError before this returns; the next request tries to start them again.
  Task<NetworkResponse> send(URLRequest request) override;

  std::optional<std::chrono::milliseconds> callTimeout() const override { return callTimeout_; }

 private:
  CurlURLSession(std::shared_ptr<CurlEngine> engine, std::optional<std::chrono::milliseconds> callTimeout);

  const std::shared_ptr<CurlEngine> engine_;
  const std::optional<std::chrono::milliseconds> callTimeout_;
};

}  // namespace lx
