#include "LXUtils/Network/CurlOptionsInternal.h"

#include <algorithm>
#include <limits>
#include <mutex>

#include "LXUtils/Foundation/OpenSSLInternal.h"

namespace lx {
namespace {

// libcurl ignores a time whose milliseconds are no int.
long atMostAnInt(std::chrono::milliseconds time) {
  return static_cast<long>(std::min<std::chrono::milliseconds::rep>(time.count(), std::numeric_limits<int>::max()));
}

}  // namespace

void initialiseCurl() {
  initialiseOpenSSL();
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

CurlOptions::CurlOptions(const URLSessionConfiguration& configuration)
    : configuration_(configuration), share_(curl_share_init()) {
  if (configuration.connectTo) connectTo_.reset(curl_slist_append(nullptr, ("::" + *configuration.connectTo).c_str()));
  curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlEasy CurlOptions::makeEasy() const {
  CurlEasy easy(curl_easy_init());
  if (!easy) return easy;
  CURL* const handle = easy.get();

  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  // libcurl would decode all that it has read at once, however large that becomes.
  curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip");
  curl_easy_setopt(handle, CURLOPT_HTTP_CONTENT_DECODING, 0L);
  curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);

  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  curl_easy_setopt(handle, CURLOPT_SHARE, share_.get());
  if (configuration_.caFile) {
    curl_easy_setopt(handle, CURLOPT_CAINFO, configuration_.caFile->c_str());
    curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(handle, CURLOPT_PROXY_CAINFO, configuration_.caFile->c_str());
    curl_easy_setopt(handle, CURLOPT_PROXY_CAPATH, nullptr);
  }

  // Empty texts keep libcurl from asking the environment.
  curl_easy_setopt(handle, CURLOPT_PROXY, configuration_.proxy ? configuration_.proxy->c_str() : "");
  curl_easy_setopt(handle, CURLOPT_NOPROXY, "");
  if (connectTo_) curl_easy_setopt(handle, CURLOPT_CONNECT_TO, connectTo_.get());

  curl_easy_setopt(handle, CURLOPT_TCP_NODELAY, 1L);
  // Allocated anew for each request over TLS. Freeing the 64 KiB of the default makes the allocator tidy up its heap
  // each time, and now and then give memory back to the system.
  curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, 16L << 10);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, atMostAnInt(configuration_.connectTimeout));
  // Without it, ending a transfer would wait for its name look-up, and all others with it.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
  return easy;
}

}  // namespace lx
