#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXTesting/Client.h"
#include "LXTesting/DevBackend.h"

namespace lx::test {

inline const std::string tokenPath = "/v4/api/oauth2/token";
inline const std::string mobile = R"("client_id":"mobile-ios")";

/// The worked pair of RFC 7636, appendix B.
inline const std::string verifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
inline const std::string challenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";

/// A backend and a client that knows it.
class BackendTest : public testing::Test {
 protected:
  void start(DevBackend::Options options = {}) {
    auto started = DevBackend::start(std::move(options));
    ASSERT_TRUE(started) << started.error().description();
    backend = std::move(*started);
  }

  Client client() const { return Client(backend->address(), backend->caFile()); }
  Answer refresh(const std::string& token) const {
    return client().post(tokenPath,
                         R"({"grant_type":"refresh_token","refresh_token":")" + token + "\"," + mobile + "}");
  }
  Answer redeem(const std::string& code, const std::string& codeVerifier) const {
    return client().post(tokenPath, R"({"grant_type":"authorization_code","authorization_code":")" + code +
                                        R"(","code_verifier":")" + codeVerifier + "\"," + mobile + "}");
  }
  Answer user(const std::string& accessToken) const { return client().get("/v4/api/user", {bearer(accessToken)}); }
  static std::string bearer(const std::string& token) { return "Authorization: Bearer " + token; }

  std::unique_ptr<DevBackend> backend;
};

}  // namespace lx::test
