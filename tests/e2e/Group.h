#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXTesting/DevBackend.h"

#include "TemporaryFolder.h"
#include "process/Probe.h"

namespace lx {

/// An app group on a folder of its own, and the backend that its processes talk to.
class GroupTest : public ::testing::Test {
 protected:
  static constexpr const char* tokenPath = "/v4/api/oauth2/token";
  static constexpr std::chrono::seconds watchdog{20};

  void SetUp() override {
    std::signal(SIGPIPE, SIG_IGN);  // children are killed while they are written to
    auto started = DevBackend::start();
    ASSERT_TRUE(started) << started.error().description();
    backend = *std::move(started);
  }

  /// A process that is being started; `arrive` waits until it is ready.
  std::unique_ptr<Probe> start(const std::string& container, std::vector<std::string> settings = {}) const {
    std::vector<std::string> command{LX_GROUP_PROBE, folder.path(), backend->address(), backend->caFile(), container};
    command.insert(command.end(), settings.begin(), settings.end());
    return std::make_unique<Probe>(std::move(command));
  }
  static void arrive(Probe& probe) { ASSERT_EQ(probe.process.readLine(), "ready"); }
  std::unique_ptr<Probe> startReady(const std::string& container, std::vector<std::string> settings = {}) const {
    auto probe = start(container, std::move(settings));
    arrive(*probe);
    return probe;
  }

  /// Signs the ordinary user in and stores the credentials, expired an hour ago or good for another.
  OAuth2Credentials signIn(std::chrono::hours lifetime) const {
    const auto minted = backend->mintCredentials("ordinary").value();
    const OAuth2Credentials credentials{minted.accessToken, minted.refreshToken, Clock::system()->now() + lifetime};
    EXPECT_TRUE(store->storeOAuth2Credentials(credentials));
    return credentials;
  }
  OAuth2Credentials signInExpired() const { return signIn(std::chrono::hours(-1)); }

  /// What is in the store; a failure when that is nothing or cannot be read.
  OAuth2Credentials stored() const {
    const auto loaded = store->loadOAuth2Credentials();
    if (loaded && *loaded) return **loaded;
    ADD_FAILURE() << (loaded ? "The store is empty" : loaded.error().description());
    return {};
  }
  std::size_t refreshes() const { return backend->journal().count(tokenPath, "refresh_token"); }
  bool waitForRefreshes(std::size_t count) const {
    return backend->journal().waitForRequests(count, tokenPath, watchdog, "refresh_token");
  }

  static std::string notification(const std::string& kind) {
    return "com.lexiconia.keyboard.credentialsRefresh" + kind;
  }
  /// How many notifications of the kind were posted to the group.
  std::uintmax_t posts(const std::string& kind) const {
    std::error_code none;
    const auto size = std::filesystem::file_size(folder.file("notifications/" + notification(kind)), none);
    return none ? 0 : size;
  }

  std::unique_ptr<DevBackend> backend;
  TemporaryFolder folder;
  std::shared_ptr<FileCredentialsStorage> store = *FileCredentialsStorage::make(folder.path());
};

}  // namespace lx
