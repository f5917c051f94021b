#include "LXUtils/Network/CurlTransferInternal.h"

#include <span>

#include "LXUtils/Network/CurlErrorsInternal.h"
#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {
namespace {

// Only POST and PATCH change more when they are carried out twice (RFC 9110, section 9.2.2).
bool isIdempotent(HTTPMethod method) { return method != HTTPMethod::post && method != HTTPMethod::patch; }

bool sendsBody(const URLRequest& request) {
  switch (request.method) {
    case HTTPMethod::head:
      return false;
    case HTTPMethod::get:
    case HTTPMethod::delete_:
      return request.body.has_value();
    case HTTPMethod::post:
    case HTTPMethod::put:
    case HTTPMethod::patch:
      return true;  // an empty one is announced as such
  }
  return false;
}

}  // namespace

CurlTransfer::CurlTransfer(const CurlOptions& options) : url_(curl_url()), easy_(options.makeEasy()) {
  if (!isUsable()) return;
  curl_easy_setopt(easy(), CURLOPT_HEADERFUNCTION, headerArrived);
  curl_easy_setopt(easy(), CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy(), CURLOPT_WRITEFUNCTION, bodyArrived);
  curl_easy_setopt(easy(), CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy(), CURLOPT_PREREQFUNCTION, aboutToSend);
  curl_easy_setopt(easy(), CURLOPT_PREREQDATA, this);
  curl_easy_setopt(easy(), CURLOPT_ERRORBUFFER, message_.data());
}

std::optional<URLSessionError> CurlTransfer::prepare(const URLRequest& request, std::string_view cookies,
                                                     const URLSessionConfiguration& configuration) {
  using enum URLSessionError::Kind;
  response_.reset(configuration.maximumBodySize);
  mayBeSentAgain_ = isIdempotent(request.method);
  wasSent_ = false;
  setMethod(request);
  if (!setHeaders(request, cookies, configuration)) {
    return URLSessionError{invalidRequest, "a header with CR, LF or NUL, or whose name is no token"};
  }
  if (!setURL(request.url->string())) return URLSessionError{invalidRequest, "not a URL for libcurl"};
  return std::nullopt;
}

// libcurl takes a URL apart several times a request when it is given the text, at a fifth of the client's work for a
// small request. Given the parts, it does not, and they can stay for the next request to the same place.
bool CurlTransfer::setURL(const std::string& text) {
  if (text == urlText_) return true;
  urlText_.clear();
  if (curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS | CURLU_DISALLOW_USER) != CURLUE_OK) {
    return false;
  }
  urlText_ = text;
  curl_easy_setopt(easy(), CURLOPT_URL, nullptr);  // libcurl's own text is of the URL before
  curl_easy_setopt(easy(), CURLOPT_CURLU, url_.get());
  return true;
}

std::optional<URLSessionError> CurlTransfer::failure(CURLcode code) const {
  if (code != CURLE_OK) return errorOf(easy(), code, message_.data(), response_.fault());
  // For libcurl, headers that break off in the middle are a whole response.
  if (!response_.hasHeaders()) return URLSessionError{URLSessionError::Kind::connectionLost, "in the headers"};
  return std::nullopt;
}

void CurlTransfer::setMethod(const URLRequest& request) {
  const char* customMethod = nullptr;
  if (sendsBody(request)) {
    const bool hasBytes = request.body && !request.body->empty();
    curl_easy_setopt(easy(), CURLOPT_POST, 1L);
    curl_easy_setopt(easy(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(hasBytes ? request.body->size() : 0));
    curl_easy_setopt(easy(), CURLOPT_POSTFIELDS, hasBytes ? reinterpret_cast<const char*>(request.body->data()) : "");
    if (request.method != HTTPMethod::post) customMethod = rawValue(request.method).data();
  } else if (request.method == HTTPMethod::head) {
    curl_easy_setopt(easy(), CURLOPT_NOBODY, 1L);
  } else {
    curl_easy_setopt(easy(), CURLOPT_HTTPGET, 1L);
    if (request.method != HTTPMethod::get) customMethod = rawValue(request.method).data();
  }
  curl_easy_setopt(easy(), CURLOPT_CUSTOMREQUEST, customMethod);
}

bool CurlTransfer::setHeaders(const URLRequest& request, std::string_view cookies,
                              const URLSessionConfiguration& configuration) {
  text_.clear();
  starts_.clear();
  const auto lacks = [&](HTTPHeaderName name) { return !request.headers.value(name); };
  for (const auto& [name, value] : request.headers.fields()) {
    if (!isFramingField(name) && !addLine(name, trimmedFieldValue(value))) return false;
  }
  if (!cookies.empty() && !addLine(HTTPHeaderName::cookie.rawValue, cookies)) return false;
  if (configuration.userAgent && lacks(HTTPHeaderName::userAgent) &&
      !addLine(HTTPHeaderName::userAgent.rawValue, *configuration.userAgent)) {
    return false;
  }
  // In libcurl's notation a name with nothing after the colon is a header not to send.
  const auto suppress = [this](std::string_view name) {
    starts_.push_back(text_.size());
    text_.append(name).append(1, ':').append(1, '\0');
  };
  if (sendsBody(request)) {
    suppress("Expect");
    if (lacks(HTTPHeaderName::contentType)) suppress(HTTPHeaderName::contentType.rawValue);
  }

  lines_.resize(starts_.size());
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    lines_[i] = {text_.data() + starts_[i], i + 1 < lines_.size() ? &lines_[i + 1] : nullptr};
  }
  curl_easy_setopt(easy(), CURLOPT_HTTPHEADER, lines_.empty() ? nullptr : lines_.data());
  return true;
}

// Every line that libcurl is given comes through here, whatever its source: the request, the jar, the configuration.
bool CurlTransfer::addLine(std::string_view name, std::string_view value) {
  if (!isFieldName(name) || !isFieldValue(value)) return false;
  starts_.push_back(text_.size());
  text_.append(name);
  if (value.empty()) {
    text_.append(1, ';');  // libcurl's notation for a header without a value
  } else {
    text_.append(": ").append(value);
  }
  text_.append(1, '\0');
  return true;
}

std::size_t CurlTransfer::headerArrived(char* data, std::size_t size, std::size_t count, void* transfer) {
  const bool taken = static_cast<CurlTransfer*>(transfer)->response_.takeHeaderLine({data, size * count});
  return taken ? size * count : CURL_WRITEFUNC_ERROR;
}

std::size_t CurlTransfer::bodyArrived(char* data, std::size_t size, std::size_t count, void* transfer) {
  const auto chunk = std::as_bytes(std::span(data, size * count));
  return static_cast<CurlTransfer*>(transfer)->response_.takeBody(chunk) ? chunk.size() : CURL_WRITEFUNC_ERROR;
}

// libcurl sends a request again by itself when a kept connection breaks before the first byte of the answer. The
// server may have carried the first one out, and a token that is good once would be spent twice.
int CurlTransfer::aboutToSend(void* transfer, char*, char*, int, int) {
  auto& self = *static_cast<CurlTransfer*>(transfer);
  if (self.wasSent_ && !self.mayBeSentAgain_) return CURL_PREREQFUNC_ABORT;
  self.wasSent_ = true;
  return CURL_PREREQFUNC_OK;
}

}  // namespace lx
