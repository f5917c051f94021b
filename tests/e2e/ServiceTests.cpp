#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationErrorInfo.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/HeadersProvider.h"
#include "LXServices/Services/NetworkServicesOAuth2/Utils/CookieCleaner.h"
#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXUtils/Foundation/URLQueryParameters.h"
#include "LXUtils/Network/LooseRequestAuthorizer.h"

#include "e2e/StackTest.h"

namespace lx {
namespace {

using std::chrono::seconds;
using ::testing::AllOf;
using ::testing::Ge;
using ::testing::Le;

UserModel user(std::string_view text) { return decodeJSON<UserModel>(text).value(); }

const UserModel ordinaryUser =
    user(R"({"id":"1001","firstName":"Olive","name":"Olive Ordinary","email":"olive@example.test","anonymous":false,)"
         R"("isTest":false,"registrationDate":"2021-03-04T05:06:07.123","groups":["mobile-ios","extension-edge"]})");

const UserModel institutionUser = user(
    R"({"id":"1002","firstName":"Ines","name":"Ines Institution","email":"ines@university.test","anonymous":false,)"
    R"("isTest":false,"registrationDate":"2020-09-01T08:00:00.000","groups":["claimed-invitation","webeditor"],)"
    R"("institutionInfo":{"id":77,"name":"Example University","admin":true,"kivEnabled":true,"kivInfo":{)"
    R"("companyName":"Example University","styleGuideEnabled":true,)"
    R"("logoUrl":"https://static.lexiconia.com/logos/77.png"},"organizationType":"EDU"}})");

class Services : public StackTest {
 protected:
  void SetUp() override {
    StackTest::SetUp();
    app = std::make_unique<App>(options());
  }

  /// The identifier of the user whom the credentials are good for.
  std::string userOf(const OAuth2Credentials& credentials) const {
    EXPECT_TRUE(app->stack.store->storeOAuth2Credentials(credentials));
    const auto fetched = await(app->userOAuth2.fetchUser());
    return fetched ? fetched->user.id : fetched.error().description();
  }

  /// What a browser ends with when the user presses a button of the sign-in page.
  URL submitSignInPage(URLQueryParameters form) const {
    const URL page = app->stack.environment->authServiceURL().appendingPath("/v4/api/oauth2/authorize");
    const auto shown = await(app->stack.session->send(URLRequest(HTTPMethod::get, form.applied(page))));
    EXPECT_TRUE(shown && shown->isSuccess());
    form.addValue("ordinary", "user");
    URLRequest submit(HTTPMethod::post, page);
    submit.headers.set(HTTPHeaderName::contentType, "application/x-www-form-urlencoded");
    submit.body = dataOf(form.applied(page).query().value_or(""));
    const auto submitted = await(app->stack.session->send(submit));
    EXPECT_TRUE(submitted && submitted->statusCode == 302);
    return *URL::make(std::string(submitted->headers.value(HTTPHeaderName::location).value_or("")));
  }

  std::unique_ptr<App> app;
};

TEST_F(Services, ABrowserSignInEndsInCredentials) {
  const AuthUtilityImpl utility;
  const auto verifier = utility.generateCodeVerifier(64);
  const auto state = utility.generateState(40);
  URLQueryParameters form;
  form.addValue(utility.calculateCodeChallenge(verifier), "code_challenge");
  form.addValue(app->stack.environment->clientType(), "client_id");
  for (const auto& [name, value] :
       {std::pair("response_mode", "query"), std::pair("response_type", "code"),
        std::pair("scope", "lexiconia.corva.all"), std::pair("redirect_uri", "lexiconia://oauth")}) {
    form.addValue(value, name);
  }
  form.addValue(state.value, "state");
  const URLQueryParameters redirect(submitSignInPage(form));
  EXPECT_EQ(redirect.first("state"), state.value);

  const auto before = Clock::system()->now();
  const auto exchanged = await(
      app->builder().authenticationService()->unifiedSignonExchangeCode(*redirect.first("code"), verifier, "mine"));
  ASSERT_TRUE(exchanged) << exchanged.error().description();
  EXPECT_EQ(exchanged->deviceAuthData, DeviceAuthData{"mine"});
  EXPECT_THAT(exchanged->oauth2Credentials.expirationDate,
              AllOf(Ge(before + seconds(3600)), Le(Clock::system()->now() + seconds(3600))));
  EXPECT_EQ(userOf(exchanged->oauth2Credentials), "1001");

  // The code is good for its own verifier alone, and once.
  const auto again = await(app->builder().authenticationService()->unifiedSignonExchangeCode(*redirect.first("code"),
                                                                                             verifier, std::nullopt));
  ASSERT_FALSE(again);
  EXPECT_EQ(again.error().typeName(), "NetworkServiceError.serverError");
}

TEST_F(Services, TheUserIsFetchedAsTheBackendTellsIt) {
  signIn(*app);
  const auto plain = await(app->user.fetchUser());
  ASSERT_TRUE(plain) << plain.error().description();
  EXPECT_EQ(plain->user, ordinaryUser);
  EXPECT_TRUE(plain->authPolicyToken && plain->authPolicyToken->starts_with("policy-"));

  backend->setCookies({.authPolicy = false});
  auto expected = ordinaryUser;
  expected.customFields.emplace()["frontend_role"] = "writer";
  const auto withRole =
      await(app->user.fetchUser({{UserRequestQuery::Parameter::customField, UserRequestQuery::Value::role}}));
  ASSERT_TRUE(withRole) << withRole.error().description();
  EXPECT_EQ(*withRole, (UserServiceFetchUserResponse{expected, std::nullopt}));

  signIn(*app, "institution");
  const auto institution = await(app->userOAuth2.fetchUser());
  ASSERT_TRUE(institution) << institution.error().description();
  EXPECT_EQ(*institution, (UserServiceFetchUserResponse{institutionUser, std::nullopt}));
  EXPECT_EQ(await(app->user.logout()).value(), UserServiceLogoutResponse{true});
}

TEST_F(Services, WhoIsNotSignedInBecomesAnAnonymousUserWithCookies) {
  const auto [user, authData, deviceAuthData] = await(app->orAnonymous.auth()).value();
  EXPECT_TRUE(user.isAnonymous);
  EXPECT_EQ(user.id, "3001");
  ASSERT_TRUE(authData);
  EXPECT_NE(authData->authToken, "");
  EXPECT_TRUE(authData->csrfToken && authData->policyToken);
  EXPECT_TRUE(deviceAuthData && deviceAuthData->trustedDeviceID);

  backend->setCookies({.authToken = false, .csrfToken = true, .authPolicy = true, .trustedDeviceID = true});
  const auto sameSession = await(app->orAnonymous.auth()).value();
  EXPECT_EQ(std::get<0>(sameSession).id, "3001");
  EXPECT_EQ(std::get<1>(sameSession), std::nullopt);
  EXPECT_TRUE(std::get<2>(sameSession));

  CookieCleanerImpl().cleanCookies({HTTPCookieName::authToken});
  EXPECT_EQ(std::get<0>(await(app->orAnonymous.auth()).value()).id, "3002");
  const auto credentials = await(app->anonymous.authenticateAnonymous());
  ASSERT_TRUE(credentials) << credentials.error().description();
  EXPECT_EQ(userOf(*credentials), "3003");
}

struct CookieSession final : AuthDataProvider {
  std::optional<UserAuthData> authData() const override { return data; }
  std::optional<std::string> trustedDeviceID() const override { return "mine"; }
  std::optional<UserAuthData> data;
};

TEST_F(Services, ASignInIsCarriedOverToTheWebAndItsCookiesBack) {
  signIn(*app, "institution");
  const auto& clientID = app->stack.environment->clientType();
  const auto generated = await(app->oauth.generateCode(codeChallenge, clientID));
  ASSERT_TRUE(generated) << generated.error().description();
  const auto exchanged = await(app->oauth.exchangeCode(generated->code().value_or(""), codeVerifier, clientID));
  ASSERT_TRUE(exchanged) << exchanged.error().description();
  EXPECT_TRUE(exchanged->trustedDeviceID);

  // The cookies are a session of their own, for services of the cookie era.
  const auto headers = std::make_shared<HeadersProvider>(app->stack.app, app->stack.environment, std::nullopt);
  const auto session = std::make_shared<CookieSession>();
  session->data = UserAuthData{exchanged->lxauth, exchanged->csrf, std::nullopt};
  headers->setAuthDataProvider(session);
  UserServiceImpl cookieUser(
      NetworkServiceImpl::make(app->stack.session, std::make_shared<LooseRequestAuthorizer>(headers, Logger::auth),
                               OperationQueue::main(), Logger::network),
      app->stack.environment);
  EXPECT_EQ(await(cookieUser.fetchUser()).value().user, institutionUser);

  const auto migrated = await(app->builder().silentAuthorizationManager()->exchange(*session->data));
  ASSERT_TRUE(migrated) << migrated.error().description();
  EXPECT_TRUE(migrated->deviceAuthData.trustedDeviceID);
  EXPECT_EQ(await(cookieUser.logout()).value(), UserServiceLogoutResponse{true});
  EXPECT_EQ(await(cookieUser.fetchUser()).error().typeName(), "NetworkServiceError.serverError");
  EXPECT_EQ(userOf(migrated->oauth2Credentials), "1002");
}

TEST_F(Services, NativeSignInsEndInCredentials) {
  using Google = SignonBody<SignonContextGoogle>;
  using Apple = SignonBody<SignonContextApple>;
  // The stack's own service serves who has no credentials yet, the app's who has some, if only anonymous ones.
  const auto own = app->builder().authenticationService();
  const std::shared_ptr<AuthenticationServiceOAuth2> signing(&app->authentication, [](auto*) {});
  const struct {
    std::shared_ptr<AuthenticationServiceOAuth2> service;
    std::shared_ptr<OAuth2SocialSignonCodeExchangeRequestBodyProvider> provider;
    OAuth2NativeSignonAction action;
    std::string user;
  } cases[] = {
      {own, std::make_shared<Google>(googleSignon("google-ordinary", "mine")), OAuth2NativeSignonAction::login, "1001"},
      {own, std::make_shared<Apple>(appleSignon("newcomer-a", "mine")), OAuth2NativeSignonAction::signup, "3001"},
      {signing, std::make_shared<Apple>(appleSignon("apple-managed", "mine")), OAuth2NativeSignonAction::login, "1003"},
      {signing, std::make_shared<Google>(googleSignon("newcomer-g", "mine")), OAuth2NativeSignonAction::signup, "3002"},
  };
  for (const auto& c : cases) {
    const auto signedIn = await(c.service->socialSignonExchangeSocialToken(*c.provider, {}));
    ASSERT_TRUE(signedIn) << signedIn.error().description();
    EXPECT_EQ(signedIn->second, c.action);
    EXPECT_EQ(signedIn->first.deviceAuthData, DeviceAuthData{"mine"});
    EXPECT_EQ(userOf(signedIn->first.oauth2Credentials), c.user);
  }
  const auto stranger = await(app->authentication.socialSignonExchangeSocialToken(googleSignon("stranger"), {}));
  ASSERT_FALSE(stranger);
  const auto* error = stranger.error().as<NetworkServiceError>();
  ASSERT_TRUE(error && error->serverError());
  EXPECT_EQ(error->serverError()->info->errorDescriptionDetails(), "{ message: The provider's token is not valid }");
}

TEST_F(Services, RevokedCredentialsAreGoodForNothing) {
  const auto credentials = signIn(*app);
  ASSERT_TRUE(await(app->credentials().revokeCredentials()));
  const auto refused = await(app->builder().tokenRefreshService()->refresh(credentials));
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().description(), "The server answered with status 401 { message: Invalid refresh token }");
  EXPECT_EQ(backend->journal().count("/v4/api/revoke-by-refresh-token"), 1U);
}

TEST_F(Services, AnInvalidRefreshTokenIsHealedByTheCookieEra) {
  const auto old = signIn(*app, "managed", seconds(-10));
  auto& group = dynamic_cast<FileCredentialsStorage&>(*app->stack.store);
  ASSERT_TRUE(group.storeUser(UserModel::example()));
  ASSERT_TRUE(group.storeLegacyAuthData(UserAuthData{"lxauth-managed", std::nullopt, std::nullopt}));
  backend->revokeRefreshTokens();

  const auto fetched = await(app->userOAuth2.fetchUser());
  ASSERT_TRUE(fetched) << fetched.error().description();
  EXPECT_EQ(fetched->user.id, "1003");
  EXPECT_NE(group.loadOAuth2Credentials().value()->accessToken, old.accessToken);
  EXPECT_EQ(backend->journal().count("/v4/api/oauth2/token"), 2U);
}

}  // namespace
}  // namespace lx
