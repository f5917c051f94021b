#pragma once

#include <memory>

#include <curl/curl.h>

#include "LXUtils/Network/URLSessionConfiguration.h"

namespace lx {

struct CurlEasyCleanup {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct CurlShareCleanup {
  void operator()(CURLSH* share) const { curl_share_cleanup(share); }
};
struct CurlURLCleanup {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct CurlListCleanup {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyCleanup>;
using CurlShare = std::unique_ptr<CURLSH, CurlShareCleanup>;
using CurlURL = std::unique_ptr<CURLU, CurlURLCleanup>;
using CurlList = std::unique_ptr<curl_slist, CurlListCleanup>;

/// What all requests of a session have in common, and the easy handles that are set up for it. The handles point into
/// this object. It is used on one thread.
class CurlOptions {
 public:
  explicit CurlOptions(const URLSessionConfiguration& configuration);

  /// A handle with everything set that does not depend on the request.
  CurlEasy makeEasy() const;

 private:
  const URLSessionConfiguration& configuration_;
  CurlList connectTo_;
  CurlShare share_;  // TLS sessions, which libcurl would keep with the single handle
};

/// Prepares OpenSSL and libcurl, once in the process.
void initialiseCurl();

}  // namespace lx
