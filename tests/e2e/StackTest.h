#pragma once

#include <memory>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AnonymousServiceOAuth2.h"
#include "LXServices/Services/UnifiedSignin/OAuthService.h"
#include "LXServices/Services/UserService.h"
#include "LXTesting/DevBackend.h"
#include "LXUtils/Concurrency/OperationQueue.h"

#include "TemporaryFolder.h"
#include "support/RealStack.h"

namespace lx {

/// The verifier of RFC 7636, appendix B, and its challenge.
inline const std::string codeVerifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
inline const std::string codeChallenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";

constexpr std::chrono::seconds watchdog{20};

/// Pumps the main queue until `done` holds. A wait that takes too long is a failure.
template <class Done>
bool pumpUntil(const Done& done) {
  const bool isDone = MainQueue::shared()->runUntil(done, watchdog);
  EXPECT_TRUE(isDone) << "waited too long";
  return isDone;
}

/// The task's result; as cancelled when it takes too long.
template <class T>
Result<T> await(const Task<T>& task) {
  task.finally([](const Result<T>&) { MainQueue::shared()->wake(); });
  if (!pumpUntil([&] { return task.result().has_value(); })) return fail(TaskError::cancelled);
  return *task.result();
}

/// Sends what it was made with, as the body of a native sign-in.
template <class Context>
class SignonBody final : public OAuth2SocialSignonCodeExchangeRequestBodyProvider {
 public:
  explicit SignonBody(Context context) : context_(std::move(context)) {}
  EncodableBody requestBody(const OAuth2SocialSignonPayload&) const override { return context_; }

 private:
  const Context context_;
};

inline SignonBody<SignonContextGoogle> googleSignon(const std::string& token, std::optional<std::string> device = {}) {
  return SignonBody(SignonContextGoogle{{SocialRequestPayload::AccessToken{token, {}}}, std::move(device)});
}
inline SignonBody<SignonContextApple> appleSignon(const std::string& code, std::optional<std::string> device = {}) {
  return SignonBody(SignonContextApple{{SocialRequestPayload::Code{code, {}}}, std::move(device)});
}

/// An app with its services on the stack.
struct App {
  explicit App(RealStackOptions options) : stack(std::move(options)) {}

  const OAuth2NetworkingBuilder& builder() const { return stack.builder; }
  OAuth2CredentialsService& credentials() const { return *stack.builder.oauth2CredentialsService(); }

  RealStack stack;
  UserServiceImpl user{stack.builder.oauth2NetworkService(), stack.environment};
  UserServiceOAuth2Impl userOAuth2{stack.builder.oauth2NetworkService(), stack.environment};
  OrAnonymousServiceImpl orAnonymous{stack.builder.oauth2LooseNetworkService(), *stack.environment};
  AnonymousServiceOAuth2Impl anonymous{stack.environment, stack.builder.oauth2LooseNetworkService()};
  OAuthServiceImpl oauth{stack.builder.oauth2NetworkService(), stack.environment};
  /// Native sign-ins of a user who has credentials already, if only anonymous ones.
  AuthenticationServiceOAuth2Impl authentication{stack.builder.oauth2NetworkService(),
                                                 stack.builder.oauth2LooseNetworkService(), stack.environment};
};

/// One app and a backend, over TLS.
class StackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto started = DevBackend::start();
    ASSERT_TRUE(started) << started.error().description();
    backend = *std::move(started);
  }

  RealStackOptions options() const {
    return {.folder = folder.path(), .address = backend->address(), .caFile = backend->caFile()};
  }

  /// New credentials of the user; none of them is stored.
  OAuth2Credentials mint(const std::string& user, std::chrono::seconds lifetime = std::chrono::hours(1)) const {
    const auto minted = backend->mintCredentials(user).value();
    return {minted.accessToken, minted.refreshToken, Clock::system()->now() + lifetime};
  }
  OAuth2Credentials signIn(App& app, const std::string& user = "ordinary",
                           std::chrono::seconds lifetime = std::chrono::hours(1)) const {
    auto credentials = mint(user, lifetime);
    EXPECT_TRUE(app.stack.store->storeOAuth2Credentials(credentials));
    return credentials;
  }

  std::unique_ptr<DevBackend> backend;
  TemporaryFolder folder;
};

}  // namespace lx
