#include "LXTesting/Client.h"

#include <algorithm>
#include <memory>

#include <curl/curl.h>

namespace lx::test {

namespace {

std::size_t append(char* data, std::size_t size, std::size_t count, void* target) {
  static_cast<std::string*>(target)->append(data, size * count);
  return size * count;
}

struct Body {
  std::string& text;
  std::size_t largest;
};

std::size_t appendToBody(char* data, std::size_t size, std::size_t count, void* target) {
  auto& body = *static_cast<Body*>(target);
  body.text.append(data, size * count);
  return body.text.size() > body.largest ? 0 : size * count;
}

std::string between(const std::string& text, const std::string& begin, const std::string& ends) {
  const auto start = text.find(begin);
  if (start == std::string::npos) return {};
  return text.substr(start + begin.size(), text.find_first_of(ends, start + begin.size()) - start - begin.size());
}

}  // namespace

std::string Answer::header(const std::string& name) const { return between(headers, "\r\n" + name + ": ", "\r"); }
std::string Answer::cookie(const std::string& name) const {
  return between(headers, "\r\nSet-Cookie: " + name + "=", "\r");
}

std::string Answer::json(const std::string& key) const {
  auto value = between(body, "\"" + key + "\":", ",}");
  std::erase(value, '"');
  return value;
}

Answer Client::get(const std::string& path, const std::vector<std::string>& headers) const {
  return perform("GET", path, nullptr, headers);
}

Answer Client::post(const std::string& path, const std::string& body, std::vector<std::string> headers,
                    const std::string& contentType) const {
  headers.push_back("Content-Type: " + contentType);
  return perform("POST", path, &body, headers);
}

Answer Client::put(const std::string& path, const std::string& body, const std::vector<std::string>& headers) const {
  return perform("PUT", path, &body, headers);
}

Answer Client::head(const std::string& path) const { return perform("HEAD", path, nullptr, {}); }

Answer Client::perform(const std::string& method, const std::string& path, const std::string* body,
                       const std::vector<std::string>& headers) const {
  const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
  curl_slist* headerList = nullptr;
  for (const auto& header : headers) headerList = curl_slist_append(headerList, header.c_str());
  curl_slist* connectTo = curl_slist_append(nullptr, ("::" + address_).c_str());
  Answer answer;
  curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_NOBODY, method == "HEAD" ? 1L : 0L);
  curl_easy_setopt(curl.get(), CURLOPT_URL, ("https://" + host + path).c_str());
  curl_easy_setopt(curl.get(), CURLOPT_CONNECT_TO, connectTo);
  curl_easy_setopt(curl.get(), CURLOPT_CAINFO, caFile_.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headerList);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, timeoutMilliseconds);
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
  Body received{answer.body, largestBody};
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, appendToBody);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &received);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, append);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &answer.headers);
  if (body) {
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body->data());
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body->size()));
  }
  answer.curlCode = curl_easy_perform(curl.get());
  long status = 0;
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
  answer.status = static_cast<int>(status);
  curl_slist_free_all(connectTo);
  curl_slist_free_all(headerList);
  return answer;
}

}  // namespace lx::test
