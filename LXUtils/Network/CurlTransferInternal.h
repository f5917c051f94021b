#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Network/CurlOptionsInternal.h"
#include "LXUtils/Network/ResponseCollectorInternal.h"
#include "LXUtils/Network/URLRequest.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// An easy handle with the storage that a request and its response need while it runs. Used for one request after the
/// other, so that only what differs between requests is set.
class CurlTransfer {
 public:
  explicit CurlTransfer(const CurlOptions& options);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  /// False when there was no memory for the handle.
  bool isUsable() const { return easy_ && url_; }

  /// Sets the next request up, with `cookies`, unless empty, as its Cookie header. The body of the request is not
  /// copied and must stay until the transfer has ended. Returns why the request cannot be sent, or nothing.
  std::optional<URLSessionError> prepare(const URLRequest& request, std::string_view cookies,
                                         const URLSessionConfiguration& configuration);

  /// How the transfer failed; nothing when a whole response came.
  std::optional<URLSessionError> failure(CURLcode code) const;

  CURL* easy() const { return easy_.get(); }
  ResponseCollector& response() { return response_; }

  /// Frees what came of the response, which an unused transfer would keep otherwise.
  void dropResponse() { response_.reset(0); }

 private:
  bool setURL(const std::string& text);
  void setMethod(const URLRequest& request);
  bool setHeaders(const URLRequest& request, std::string_view cookies, const URLSessionConfiguration& configuration);
  bool addLine(std::string_view name, std::string_view value);

  static std::size_t headerArrived(char* data, std::size_t size, std::size_t count, void* transfer);
  static std::size_t bodyArrived(char* data, std::size_t size, std::size_t count, void* transfer);
  static int aboutToSend(void* transfer, char*, char*, int, int);

  CurlURL url_;  // used by the easy handle
  std::string urlText_;
  CurlEasy easy_;
  std::array<char, CURL_ERROR_SIZE> message_{};
  ResponseCollector response_;
  bool mayBeSentAgain_ = false;
  bool wasSent_ = false;

  // libcurl's list of header lines, laid out by us in two buffers that are kept: one allocation less for every line.
  std::string text_;
  std::vector<std::size_t> starts_;
  std::vector<curl_slist> lines_;
};

}  // namespace lx
