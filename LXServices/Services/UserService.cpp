#include "LXServices/Services/UserService.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthResponseAnalysis.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Foundation/URLQueryParameters.h"

namespace lx {
namespace {

struct OrAnonymousResponse {
  UserModel userModel;
  std::optional<UserAuthData> authData;
  std::optional<DeviceAuthData> deviceAuthData;

  static Result<OrAnonymousResponse> make(const NetworkResponse& response, Date now) {
    auto user = decodeBody<UserModel>(response);
    if (!user) return fail(user.error());
    auto csrfToken = response.cookieValue(HTTPCookieName::csrfToken, now);
    auto policyToken = response.cookieValue(HTTPCookieName::authPolicy, now);
    auto authToken = response.cookieValue(HTTPCookieName::authToken, now);
    auto trustedDeviceID = response.cookieValue(HTTPCookieName::trustedDeviceID, now);
    OrAnonymousResponse decoded{*std::move(user), std::nullopt, std::nullopt};
    if (authToken) decoded.authData = UserAuthData{*std::move(authToken), std::move(csrfToken), std::move(policyToken)};
    if (trustedDeviceID) decoded.deviceAuthData = DeviceAuthData{std::move(trustedDeviceID)};
    return decoded;
  }
};

}  // namespace

Result<UserServiceFetchUserResponse> UserServiceFetchUserResponse::make(const NetworkResponse& response, Date now) {
  auto user = decodeBody<UserModel>(response);
  if (!user) return fail(user.error());
  return UserServiceFetchUserResponse{*std::move(user), response.cookieValue(HTTPCookieName::authPolicy, now)};
}

URLRequest UserServiceImpl::RequestFactory::fetchUser(const Parameters& parameters) const {
  const URL url = backendEnvironment->authServiceURL().appendingPath("/v3/user");
  URLQueryParameters query;
  for (const auto& [parameter, value] : parameters) query.addValue(rawValue(value), rawValue(parameter));
  return URLRequest(HTTPMethod::get, query.applied(url));
}

URLRequest UserServiceImpl::RequestFactory::logout() const {
  return URLRequest(HTTPMethod::post, backendEnvironment->authServiceURL().appendingPath("/v3/logout"));
}

UserServiceImpl::UserServiceImpl(std::shared_ptr<NetworkService> networkService,
                                 std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                 std::shared_ptr<Clock> clock)
    : networkService_(std::move(networkService)),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<UserServiceFetchUserResponse> UserServiceImpl::fetchUser(const Parameters& parameters) {
  return networkService_->authorizeAndLoad(requestFactory_.fetchUser(parameters))
      .decode(analyzeAuthResponse())
      .decode([clock = clock_](const auto& response) {
        return UserServiceFetchUserResponse::make(response, clock->now());
      });
}

Task<UserServiceLogoutResponse> UserServiceImpl::logout() {
  return networkService_->authorizeAndLoadJSON<UserServiceLogoutResponse>(requestFactory_.logout());
}

URLRequest UserServiceOAuth2Impl::RequestFactory::fetchUser() const {
  return URLRequest(HTTPMethod::get, backendEnvironment->authServiceURL().appendingPath("/v4/api/user"),
                    HTTPContentType::jsonWithUTF8);
}

UserServiceOAuth2Impl::UserServiceOAuth2Impl(std::shared_ptr<NetworkService> networkService,
                                             std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                             std::shared_ptr<Clock> clock)
    : networkService_(std::move(networkService)),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<UserServiceFetchUserResponse> UserServiceOAuth2Impl::fetchUser() {
  return networkService_->authorizeAndLoad(requestFactory_.fetchUser())
      .decode(analyzeAuthResponse())
      .decode([clock = clock_](const auto& response) {
        return UserServiceFetchUserResponse::make(response, clock->now());
      });
}

OrAnonymousServiceImpl::OrAnonymousServiceImpl(std::shared_ptr<NetworkService> networkService,
                                               const BackendEnvironment& backendEnvironment,
                                               std::shared_ptr<Clock> clock)
    : OrAnonymousServiceImpl(std::move(networkService), backendEnvironment.authServiceURL(), std::move(clock)) {}

OrAnonymousServiceImpl::OrAnonymousServiceImpl(std::shared_ptr<NetworkService> networkService, URL authServerURL,
                                               std::shared_ptr<Clock> clock)
    : networkService_(std::move(networkService)), authServerURL_(std::move(authServerURL)), clock_(std::move(clock)) {}

Task<OrAnonymousService::Answer> OrAnonymousServiceImpl::auth() {
  return networkService_
      ->authorizeAndLoad(URLRequest(HTTPMethod::post, authServerURL_.appendingPath("/v3/user/oranonymous"),
                                    HTTPContentType::jsonWithUTF8))
      .decode(analyzeAuthResponse())
      .decode([clock = clock_](const auto& response) { return OrAnonymousResponse::make(response, clock->now()); })
      .map(
          [](const OrAnonymousResponse& response) {
            return Answer(response.userModel, response.authData, response.deviceAuthData);
          },
          OperationQueue::main());
}

}  // namespace lx
