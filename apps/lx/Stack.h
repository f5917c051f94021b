#pragma once

#include <memory>
#include <string>

#include "LXServices/Environment/BackendDefaultEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2NetworkingBuilder.h"
#include "LXUtils/Concurrency/OperationQueue.h"

#include "lx/GlobalOptions.h"

namespace lx::tool {

/// The environment that the options ask for.
Result<std::shared_ptr<BackendDefaultEnvironment>> makeEnvironment(const GlobalOptions& options);

/// The settings in the information property list, or the tool's own without one.
Result<BundleDefaultSettings> makeBundleSettings(const std::optional<std::string>& bundleFile);

/// The group's folder, which is there afterwards, private to the user. Errors: ToolError.
Result<std::string> makeGroupFolder(const GlobalOptions& options);

/// Notes that the library asked to sign the user out. The store is left alone: only a person decides to forget it.
class LogoutRequest final : public OAuth2CredentialsServiceDelegate {
 public:
  void oauth2CredentialsServiceDidRequestLogout() override { requested_ = true; }
  bool requested() const { return requested_; }

 private:
  bool requested_ = false;
};

/// The library as an app of the group has it, with the tool's main thread as the app's. Parts live as long as it does.
class Stack {
 public:
  static Result<std::unique_ptr<Stack>> make(const GlobalOptions& options);

  /// Waits until a refresh that has outlived its command has stored its outcome.
  ~Stack();
  Stack(const Stack&) = delete;
  Stack& operator=(const Stack&) = delete;

  const std::shared_ptr<BackendDefaultEnvironment>& environment() const { return environment_; }
  FileCredentialsStorage& store() { return *store_; }
  URLSession& session() { return *session_; }
  const OAuth2NetworkingBuilder& networking() const { return *networking_; }
  OAuth2CredentialsService& credentialsService() const { return *networking_->oauth2CredentialsService(); }
  const LogoutRequest& logoutRequest() const { return *logoutRequest_; }

  /// Pumps the main queue until the task has completed. A person who waits longer than a second is told for what.
  template <class T>
  Result<T> await(Task<T> task) {
    Timer notice = noticeAfterASecond();
    auto result = MainQueue::shared()->runUntil(std::move(task));
    notice.cancel();
    return result;
  }

 private:
  Stack() = default;

  Timer noticeAfterASecond() const;

  bool tellsPeople_ = false;

  std::shared_ptr<BackendDefaultEnvironment> environment_;
  std::shared_ptr<FileCredentialsStorage> store_;
  std::shared_ptr<URLSession> session_;
  std::unique_ptr<OAuth2NetworkingBuilderImpl> networking_;
  std::shared_ptr<LogoutRequest> logoutRequest_ = std::make_shared<LogoutRequest>();
};

}  // namespace lx::tool
