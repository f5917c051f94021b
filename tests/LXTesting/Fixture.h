#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXTesting/DevBackend.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Network/CurlURLSession.h"
#include "LXUtils/Network/HTTPCookie.h"

namespace lx::test {

inline const std::string tokenPath = "/v4/api/oauth2/token";
inline const std::string mobile = R"("client_id":"mobile-ios")";

/// The worked pair of RFC 7636, appendix B.
inline const std::string verifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
inline const std::string challenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";

struct Answer {
  int status = 0;  ///< 0 when there was no answer
  NetworkResponse response;
  std::string body;

  std::string header(const std::string& name) const { return std::string(response.headers.value(name).value_or("")); }
  /// The text or number under a key of a flat JSON body; empty when there is none.
  std::string json(const std::string& key) const {
    const auto start = body.find("\"" + key + "\":");
    if (start == std::string::npos) return {};
    auto value = body.substr(start + key.size() + 3);
    value.resize(value.find_first_of(",}"));
    std::erase(value, '"');
    return value;
  }
};

using Headers = std::vector<std::pair<std::string, std::string>>;

/// A backend and a client that knows it.
class BackendTest : public testing::Test {
 protected:
  Answer send(URLRequest request, const Headers& headers = {}, const std::string& address = {}) const {
    for (const auto& [name, value] : headers) request.headers.set(name, value);
    const auto session =
        CurlURLSession::make({.caFile = backend->caFile(), .connectTo = address.empty() ? backend->address() : address})
            .value();
    const auto result = MainQueue::shared()->runUntil(session->send(std::move(request)));
    if (!result) return {};
    return {result->statusCode, *result, std::string(result->body ? textView(*result->body) : "")};
  }
  static URLRequest request(HTTPMethod method, const std::string& path) {
    return {method, *URL::make("https://auth.lexiconia.com" + path)};
  }
  Answer get(const std::string& path, const Headers& headers = {}) const {
    return send(request(HTTPMethod::get, path), headers);
  }
  Answer post(const std::string& path, const std::string& body, Headers headers = {},
              const std::string& contentType = "application/json; charset=utf-8") const {
    auto posted = request(HTTPMethod::post, path);
    posted.body = dataOf(body);
    headers.emplace_back("Content-Type", contentType);
    return send(std::move(posted), headers);
  }
  Answer refresh(const std::string& token) const {
    return post(tokenPath, R"({"grant_type":"refresh_token","refresh_token":")" + token + "\"," + mobile + "}");
  }
  Answer redeem(const std::string& code, const std::string& codeVerifier) const {
    return post(tokenPath, R"({"grant_type":"authorization_code","authorization_code":")" + code +
                               R"(","code_verifier":")" + codeVerifier + "\"," + mobile + "}");
  }
  Answer user(const std::string& accessToken) const {
    return get("/v4/api/user", {{"Authorization", "Bearer " + accessToken}});
  }

  std::unique_ptr<DevBackend> backend = DevBackend::start().value();
};

}  // namespace lx::test
