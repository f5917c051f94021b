#include <cstdio>
#include <filesystem>

#include "LXServices/LXServices.h"
#include "LXTesting/DevBackend.h"
#include "LXUtils/Foundation/FileURL.h"

/// What the library asks of the app that it is part of.
class ExampleApp final : public lx::AppService {
 public:
  std::string clientVersion() const override { return "1.0"; }
  std::string containerID() const override { return "group.example"; }
  const lx::BundleSettings& bundleSettings() const override { return settings_; }

 private:
  const lx::BundleDefaultSettings settings_{{.currentBundleID = "com.example.app"}};
};

lx::Result<std::string> fetchName(const std::filesystem::path& group) {
  // A backend on this machine that plays the product's. An app leaves out what is configured for it.
  const auto backend = lx::DevBackend::start();
  if (!backend) return lx::fail(backend.error());
  lx::URLSessionConfiguration configuration;
  configuration.connectTo = (*backend)->address();
  configuration.caFile = (*backend)->caFile();
  const auto session = lx::CurlURLSession::make(configuration);
  if (!session) return lx::fail(session.error());

  // All processes that are given this folder share the user's credentials.
  const auto store = lx::FileCredentialsStorage::make(group);
  if (!store) return lx::fail(store.error());
  const auto signIn = (*backend)->mintCredentials("ordinary");
  if (!signIn) return lx::fail(signIn.error());
  const lx::OAuth2CredentialsResponse granted{signIn->accessToken, signIn->refreshToken, signIn->expiresIn, {}};
  if (const auto stored = (*store)->storeOAuth2Credentials(lx::OAuth2Credentials::make(granted)); !stored) {
    return lx::fail(stored.error());
  }
  const auto lockFile = lx::fileURL(group / "token-refresh.lock");
  if (!lockFile) return lx::fail(lockFile.error());

  const auto environment = std::make_shared<lx::BackendDefaultEnvironment>(lx::BackendDefaultEnvironment::makeOrFail(
      lx::BackendDomains::production(), lx::BackendEnvironmentFactory::iOSApp()));
  const lx::OAuth2NetworkingBuilderImpl networking(std::make_shared<ExampleApp>(), environment, std::nullopt, *session,
                                                   *store, *lockFile);

  lx::UserServiceOAuth2Impl users(networking.oauth2NetworkService(), environment);
  const auto answer = lx::MainQueue::shared()->runUntil(users.fetchUser());
  if (!answer) return lx::fail(answer.error());
  return answer->user.name.value_or("nobody");
}

int main() {
  const auto name = fetchName(std::filesystem::temp_directory_path() / "lxservices-example");
  if (!name) {
    std::fprintf(stderr, "%s: %s\n", name.error().typeName().c_str(), name.error().description().c_str());
    return 1;
  }
  std::printf("Signed in as %s\n", name->c_str());
}
