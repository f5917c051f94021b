#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/DeviceAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/UserRequestQuery.h"
#include "LXServices/Services/UserModel.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// The result of a fetch. The user's auth data is empty: attaching it is the caller's business.
struct UserServiceFetchUserResponse {
  UserModel user;
  std::optional<std::string> authPolicyToken;  ///< of the cookie that the response sets

  /// Fails as NetworkServiceError::MissingBody or ::UndecodableBody.
  static Result<UserServiceFetchUserResponse> make(const NetworkResponse& response, Date now = Clock::system()->now());

  bool operator==(const UserServiceFetchUserResponse&) const = default;
};

struct UserServiceLogoutResponse {
  bool ok = false;

  bool operator==(const UserServiceLogoutResponse&) const = default;
};

template <>
struct Coding<UserServiceLogoutResponse> {
  static constexpr auto fields = std::tuple{field("ok", &UserServiceLogoutResponse::ok)};
};

/// The signed-in user at the version 3 endpoints. Any thread; tasks complete as the network service's do. A failing
/// status is a NetworkServiceError with the AuthServerErrorInfo of its body, from which `blockReason` can be read.
class UserService {
 public:
  using Parameters = std::map<UserRequestQuery::Parameter, UserRequestQuery::Value>;

  virtual ~UserService() = default;

  /// Each parameter becomes one item of the query.
  virtual Task<UserServiceFetchUserResponse> fetchUser(const Parameters& parameters) = 0;
  Task<UserServiceFetchUserResponse> fetchUser() { return fetchUser(Parameters{}); }

  /// Logs out at the backend; clears nothing here.
  virtual Task<UserServiceLogoutResponse> logout() = 0;
};

/// The signed-in user at the version 4 endpoint; as UserService otherwise.
class UserServiceOAuth2 {
 public:
  virtual ~UserServiceOAuth2() = default;
  virtual Task<UserServiceFetchUserResponse> fetchUser() = 0;
};

/// The user, or an anonymous one for who is not signed in.
class OrAnonymousService {
 public:
  using Answer = std::tuple<UserModel, std::optional<UserAuthData>, std::optional<DeviceAuthData>>;

  virtual ~OrAnonymousService() = default;

  /// The auth and device data are those of the cookies that the response sets. Completes on the main queue.
  virtual Task<Answer> auth() = 0;
};

class UserServiceImpl final : public UserService {
 public:
  UserServiceImpl(std::shared_ptr<NetworkService> networkService,
                  std::shared_ptr<const BackendEnvironment> backendEnvironment,
                  std::shared_ptr<Clock> clock = Clock::system());

  using UserService::fetchUser;
  Task<UserServiceFetchUserResponse> fetchUser(const Parameters& parameters) override;
  Task<UserServiceLogoutResponse> logout() override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;

    URLRequest fetchUser(const Parameters& parameters) const;
    URLRequest logout() const;
  };

  const std::shared_ptr<NetworkService> networkService_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

class UserServiceOAuth2Impl final : public UserServiceOAuth2 {
 public:
  UserServiceOAuth2Impl(std::shared_ptr<NetworkService> networkService,
                        std::shared_ptr<const BackendEnvironment> backendEnvironment,
                        std::shared_ptr<Clock> clock = Clock::system());

  Task<UserServiceFetchUserResponse> fetchUser() override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;
    URLRequest fetchUser() const;
  };

  const std::shared_ptr<NetworkService> networkService_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

class OrAnonymousServiceImpl final : public OrAnonymousService {
 public:
  OrAnonymousServiceImpl(std::shared_ptr<NetworkService> networkService, const BackendEnvironment& backendEnvironment,
                         std::shared_ptr<Clock> clock = Clock::system());
  OrAnonymousServiceImpl(std::shared_ptr<NetworkService> networkService, URL authServerURL,
                         std::shared_ptr<Clock> clock = Clock::system());

  Task<Answer> auth() override;

 private:
  const std::shared_ptr<NetworkService> networkService_;
  const URL authServerURL_;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace lx
