#include "LXUtils/Network/CurlErrorsInternal.h"

#include <initializer_list>
#include <string>
#include <system_error>

#include <openssl/x509.h>

namespace lx {
namespace {

using Kind = URLSessionError::Kind;

bool holdsAny(std::string_view message, std::initializer_list<std::string_view> parts) {
  for (const auto part : parts) {
    if (message.find(part) != std::string_view::npos) return true;
  }
  return false;
}

Kind kindOf(CURLcode code, std::string_view message) {
  switch (code) {
    case CURLE_URL_MALFORMAT:
      return Kind::invalidRequest;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return Kind::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
      return Kind::cannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
      return Kind::timedOut;
    case CURLE_SSL_CONNECT_ERROR:
      // A handshake that broke off is not one that failed.
      return holdsAny(message, {"SSL_ERROR_SYSCALL", "Connection reset", "unexpected eof"})
                 ? Kind::connectionLost
                 : Kind::secureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
      return Kind::secureConnectionFailed;
    case CURLE_RECV_ERROR:
      return holdsAny(message, {"chunked-encoding"}) ? Kind::badServerResponse : Kind::connectionLost;
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2_STREAM:
    // Our own refusal to send what is not idempotent over a second connection.
    case CURLE_ABORTED_BY_CALLBACK:
      return Kind::connectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL:  // what is not HTTP/1 or 2 in answer; the scheme was checked before
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
      return Kind::badServerResponse;
    default:
      return Kind::other;
  }
}

std::string detailsOf(CURL* easy, CURLcode code) {
  std::string details = curl_easy_strerror(code);
  long verification = X509_V_OK;
  long systemError = 0;
  if (code == CURLE_PEER_FAILED_VERIFICATION &&
      curl_easy_getinfo(easy, CURLINFO_SSL_VERIFYRESULT, &verification) == CURLE_OK && verification != X509_V_OK) {
    details.append(": ").append(X509_verify_cert_error_string(verification));
  } else if (code == CURLE_COULDNT_CONNECT && curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError) == CURLE_OK &&
             systemError != 0) {
    details.append(": ").append(std::generic_category().message(static_cast<int>(systemError)));
  }
  return details;
}

}  // namespace

URLSessionError errorOf(CURL* easy, CURLcode code, std::string_view message, ResponseCollector::Fault fault) {
  switch (fault) {
    case ResponseCollector::Fault::body:
      return {Kind::bodyTooLarge, {}};
    case ResponseCollector::Fault::headers:
      return {Kind::badServerResponse, "too many headers"};
    case ResponseCollector::Fault::coding:
      return {Kind::badServerResponse, "a coding that was not asked for"};
    case ResponseCollector::Fault::memory:
      return {Kind::other, "out of memory"};
    case ResponseCollector::Fault::none:
      break;
  }
  long connectStatus = 0;
  curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &connectStatus);
  if (connectStatus >= 300) return {Kind::cannotConnect, "the proxy answered " + std::to_string(connectStatus)};
  return {kindOf(code, message), detailsOf(easy, code)};
}

}  // namespace lx
