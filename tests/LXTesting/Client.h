#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace lx::test {

struct Answer {
  int curlCode = 0;  ///< CURLcode; 0 is success
  int status = 0;
  std::string headers;
  std::string body;

  /// The value of a header, or of a cookie that the answer sets; empty when there is none.
  std::string header(const std::string& name) const;
  std::string cookie(const std::string& name) const;
  /// The text or number under a key of a flat JSON body; empty when there is none.
  std::string json(const std::string& key) const;
};

/// A blocking HTTPS client for one backend: a new connection for each request, peer and host verified.
class Client {
 public:
  Client(std::string address, std::string caFile) : address_(std::move(address)), caFile_(std::move(caFile)) {}

  Answer get(const std::string& path, const std::vector<std::string>& headers = {}) const;
  Answer post(const std::string& path, const std::string& body, std::vector<std::string> headers = {},
              const std::string& contentType = "application/json; charset=utf-8") const;

  Answer put(const std::string& path, const std::string& body, const std::vector<std::string>& headers) const;
  Answer head(const std::string& path) const;

  /// How long a request may take before it fails with CURLE_OPERATION_TIMEDOUT.
  long timeoutMilliseconds = 20'000;
  /// A longer body makes the client hang up.
  std::size_t largestBody = 1'000'000;
  std::string host = "auth.lexiconia.com";

 private:
  Answer perform(const std::string& method, const std::string& path, const std::string* body,
                 const std::vector<std::string>& headers) const;

  std::string address_;
  std::string caFile_;
};

}  // namespace lx::test
