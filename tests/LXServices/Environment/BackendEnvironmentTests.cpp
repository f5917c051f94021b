#include <map>

#include <gmock/gmock.h>

#include "LXServices/Environment/BackendDefaultEnvironment.h"
#include "LXServices/Environment/LexiconiaUserActivity.h"
#include "LXServices/Environment/URLSchemeService.h"

namespace lx {
namespace {

using Factory = BackendEnvironmentFactory;

BackendDefaultEnvironment environment(const BackendDomains& domains, const Factory& factory) {
  return BackendDefaultEnvironment::makeOrFail(domains, factory);
}

using Properties = std::map<std::string_view, std::string>;

Properties properties(const BackendDomains& domains, const Factory& factory) {
  const auto list = environmentProperties(environment(domains, factory));
  return {list.begin(), list.end()};
}

/// What differs from `base`.
Properties changes(const Properties& base, const Properties& other) {
  Properties changed;
  for (const auto& [name, text] : other) {
    if (base.at(name) != text) changed[name] = text;
  }
  return changed;
}

const BackendDomains domains{"c.test", "i.test", std::nullopt};

TEST(BackendEnvironment, EveryURLOfTheIOSAppIsFormedFromTheDomains) {
  const std::vector<std::pair<std::string_view, std::string>> expected{

      {"metricsURL", "https://sablet-ios.i.test/ts"},
      {"logsURL", "https://sablet-ios.i.test/logv2"},
      {"thrubClientName", "iosApp"},
      {"thrubEventsURL", "https://thrub.c.test/events"},
      {"thrubLiteURL", "https://thrub.c.test/lite"},
      {"privacyURL", "https://www.c.test/privacy-policy?utm_medium=internal&utm_source=iOS"},
      {"termsURL", "https://www.c.test/terms?utm_medium=internal&utm_source=iOS"},
      {"licensesURL", "https://www.c.test/terms/thirdpartynotices?utm_medium=internal&utm_source=iOS"},
      {"supportURL",
       "https://support.c.test/hc/en-us/sections/360001000001-Lexiconia-for-iOS"
       "?mobile_site=true&utm_medium=internal&utm_source=iOS"},
      {"supportCreateTicketURL", "https://support.c.test/hc/en-us/requests/new?showform"},
      {"supportConnectionErrorURL", "https://support.c.test/hc/en-us/articles/360001000002-Connection-error"},
      {"explaingPermissionsURL", "https://support.c.test/hc/en-us/articles/360001000003"},
      {"forgotPasswordURL", "https://www.c.test/m/resetpassword?utm_medium=internal&utm_source=iOS"},
      {"postInstallURL", "https://www.c.test/service/installed"},
      {"postInstallLexiconiaPortalURL", "https://www.c.test/service/installed?targetFlow=myLexiconiaPortal"},
      {"postInstallSetupSuccessURL", "https://www.c.test/service/setup-success"},
      {"postInstallGetWritingURL", "https://www.c.test/service/installed?targetFlow=getWriting"},
      {"origin", "https://ios.c.test"},
      {"clientName", "iosApp"},
      {"clientType", "mobile-ios"},
      {"corvaWSsURL", "wss://corva.c.test/freews"},
      {"corvaHTTPsURL", "https://corva.c.test"},
      {"authServiceURL", "https://auth.c.test"},
      {"corvaServiceBaseURL", "https://corva.c.test/api"},
      {"propertiesServiceBaseURL", "https://properties.c.test/properties"},
      {"doxServiceURL", "https://dox.c.test"},
      {"doxServiceWSSURL", "wss://dox.c.test"},
      {"kestronaEditorBaseURL", "https://ios-editor.c.test/ddocs/"},
      {"kestronaEditorBetaBaseURL", "https://ios-editor-beta.lexiconia.com/ddocs/"},
      {"kestronaEditorStagingBaseURL", "https://ios-editor-beta.lexiconia.com/ddocs/"},
      {"kestronaEditorLocalBaseURL", "https://editor-local.lexiconia.com/ddocs"},
      {"assetsURL", "https://assets.c.test"},
      {"appStoreReviewURL", "itms-apps://itunes.apple.com/app/id9999999999?action=write-review"},
      {"appStorePageURL", "https://apps.apple.com/app/id9999999999"},
      {"unifiedSigninURL", "https://www.c.test/signin/app"},
      {"unifiedSignupURL", "https://www.c.test/signup/app"},
      {"businessJoinRedirectURL", "https://redirect.c.test/redirect?business_join=1"},
      {"businessJoinOAuth2URL", "https://c.test/business/join"},
      {"accountSettingsURL", "https://account.c.test"},
      {"accountCustomizeSettingsURL", "https://account.c.test/customize"},
      {"accountCustomizeDictionaryURL", "https://account.c.test/customize"},
      {"accountCustomizeLanguageWritingStyleURL", "https://account.c.test/customize/language"},
      {"accountCustomizeSuggestionsWritingStyleURL", "https://account.c.test/customize/suggestions"},
      {"accountCustomizeSnippetsURL", "https://account.c.test/customize/products"},
      {"accountManageSnippetsLibraryURL", "https://account.c.test/admin/snippets"},
      {"accountSecuritySettingsURL", "https://account.c.test/admin/security"},
      {"redirectServiceURL", "https://redirect.c.test/redirect"},
      {"trustGuidelinesURL", "https://www.c.test/trust"},
      {"webEditorURL", "https://app.c.test"},
      {"msyncServiceURL", "https://msync.c.test"},
      {"ambertrailServiceBaseURL", "https://ambertrail.c.test"},
      {"quorrelServiceBaseURL", "https://ios.quorrel.i.test"},
      {"quorrelPrefix", "iOS_"},
      {"treatmentServiceURL", "https://treatment.c.test/treatment"},
      {"gatesServiceURL", "https://gates.c.test/gates"},
      {"domainCom", "c.test"},
  };
  EXPECT_EQ(environmentProperties(environment(domains, Factory::iOSApp())), expected);
}

TEST(BackendEnvironment, SurfacesDifferInWhatIsTheirsAlone) {
  const Properties keyboard{{"corvaWSsURL", "wss://corva.c.test/mobilews"}};
  Properties retail{{"metricsURL", "https://sablet-ios-retail.i.test/ts"},
                    {"logsURL", "https://sablet-ios-retail.i.test/logv2"},
                    {"thrubClientName", "iosAppRetail"},
                    {"quorrelPrefix", "iOSRetail_"}};
  Properties retailKeyboard = retail;
  retailKeyboard.insert(keyboard.begin(), keyboard.end());
  const Properties mac{
      {"metricsURL", "https://sablet-mac-extension.i.test/ts"},
      {"logsURL", "https://sablet-mac-extension.i.test/logv2"},
      {"thrubClientName", "macExtension"},
      {"quorrelPrefix", "MacExtensions_"},
      {"quorrelServiceBaseURL", "https://mac-extension.quorrel.i.test"},
      {"corvaWSsURL", "wss://corva.c.test/fpws"},
      {"origin", "https://mac-extension.c.test"},
      {"clientName", "macExtension"},
      {"clientType", "macExtension"},
      {"privacyURL", "https://www.c.test/privacy-policy"},
      {"termsURL", "https://www.c.test/terms"},
      {"licensesURL", "https://www.c.test/terms/thirdpartynotices"},
      {"supportURL", "https://support.c.test/hc/en-us/"},
      {"supportCreateTicketURL",
       "https://support.c.test/hc/en-us/requests/new#/resolve-a-technical-issue/lexiconia-for-desktop/"},
      {"kestronaEditorBaseURL", "https://app.c.test/ddocs/"},
      {"kestronaEditorBetaBaseURL", "https://editor-scratchpad.lexiconia.com/ddocs/"},
      {"kestronaEditorStagingBaseURL", "https://editor-master.lexiconia.com/ddocs"},
      {"kestronaEditorLocalBaseURL", "https://editor-local.lexiconia.com/ddocs/"},
  };
  const std::pair<const Factory&, Properties> cases[] = {
      {Factory::iOSKeyboard(), keyboard},
      {Factory::iOSSafariExtension(), keyboard},
      {Factory::iOSApp(), {}},
      {Factory::iOSWidget(), {}},
      {Factory::iOSMessages(), {}},
      {Factory::macExtension(), mac},
      {Factory::iOSRetailKeyboard(), retailKeyboard},
      {Factory::iOSRetailSafariExtension(), retailKeyboard},
      {Factory::iOSRetailApp(), retail},
      {Factory::iOSRetailWidget(), retail},
      {Factory::iOSRetailMessages(), retail},
  };
  const auto app = properties(domains, Factory::iOSApp());
  ASSERT_EQ(std::size(cases), Factory::presets().size());
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(&cases[i].first, &Factory::presets()[i].second) << Factory::presets()[i].first;
    EXPECT_EQ(changes(app, properties(domains, cases[i].first)), cases[i].second) << Factory::presets()[i].first;
  }
}

TEST(BackendEnvironment, DeploymentsChooseTheDomainsAndTheWebSocket) {
  const std::tuple<BackendDomains, std::string_view, std::string_view, std::string_view> cases[] = {
      {BackendDomains::production(), "lexiconia.com", "lexiconia.io", "corva"},
      {BackendDomains::staging(), "preprod.lexiconia.com", "preprod.lexiconia.com", "corva"},
      {BackendDomains::testing(), "qa.lexiconia.com", "qa.lexiconia.com", "corva"},
      {BackendDomains::local(), "qa.lexiconia.com", "qa.lexiconia.com", "corva-local"},
      {BackendDomains::localPreprod(), "preprod.lexiconia.com", "preprod.lexiconia.com", "corva-local"},
      {BackendDomains::mock(), "lexiconia-com.test", "lexiconia-io.test", "corva"},
      {BackendDomains::testing("feature-x"), "qa.lexiconia.com", "qa.lexiconia.com", "feature-x.corva-dynamic"},
      {{"c.test", "i.test", "a b"}, "c.test", "i.test", "corva"},
      {{"c.test", "i.test", "a/b"}, "c.test", "i.test", "corva"},
      {{"c.test", "i.test", "ü"}, "c.test", "i.test", "corva"},
      {{"c.test", "i.test", "a:b"}, "c.test", "i.test", "corva"},
      {{"c.test", "i.test", ""}, "c.test", "i.test", "corva"},
  };
  for (const auto& [given, com, io, socket] : cases) {
    const auto made = environment(given, Factory::iOSKeyboard());
    EXPECT_EQ(made.corvaWSsURL().string(), "wss://" + std::string(socket) + "." + std::string(com) + "/mobilews");
    EXPECT_EQ(made.corvaHTTPsURL().string(), "https://corva." + std::string(com));
    EXPECT_EQ(made.metricsURL().host(), "sablet-ios." + std::string(io));
    EXPECT_EQ(made.domainCom(), com);
  }
}

TEST(BackendEnvironment, WhatCannotBeFormedFailsAsAWhole) {
  const BackendDomains faulty[] = {{"c test", "i.test", {}}, {"c.test", "i test", {}}, {"c.test:x", "i.test", {}}};
  for (const auto& given : faulty) {
    for (const auto& [name, factory] : Factory::presets()) {
      const auto made = BackendDefaultEnvironment::make(given, factory);
      ASSERT_FALSE(made) << name;
      EXPECT_EQ(made.error().typeName(), "Optional.Error");
    }
  }
  EXPECT_FALSE(SabletBackendEnvironment::make(URL::make("/relative").value()));
  EXPECT_DEATH(environment(faulty[0], Factory::iOSApp()), "^Failed to create BackendDefaultEnvironment\n$");
}

struct BuilderError {
  std::size_t builder = 0;
  std::string typeName() const { return "BuilderError"; }
  std::string description() const { return "The builder failed."; }
  bool operator==(const BuilderError&) const = default;
};

/// A factory whose builders note their turn, one of which fails.
Factory noting(std::vector<std::string>& calls, std::string failing) {
  const auto builder = [&calls, failing]<class T>(std::string name, Result<T> (*build)(const BackendDomains&)) {
    return [&calls, failing, name, build](const BackendDomains& given) -> Result<T> {
      calls.push_back(name);
      if (name == failing) return fail(BuilderError{calls.size()});
      return build(given);
    };
  };
  return {[&calls](const BackendDomains& given) {
            calls.emplace_back("identity");
            return ClientIdentity::iOS(given);
          },
          builder("sablet", SabletBackendEnvironment::iOS),
          builder("auth", AuthBackendEnvironment::iOS),
          builder("corva", CorvaBackendEnvironment::iOSApp),
          builder("info", InfoBackendEnvironment::iOS),
          builder("quorrel", QuorrelBackendEnvironment::iOS),
          builder("thrub", ThrubBackendEnvironment::iOS),
          builder("kestronaEditor", KestronaEditorBackendEnvironment::iOS)};
}

TEST(BackendEnvironment, TheFirstFailingBuilderIsTheLastThatIsCalled) {
  const std::vector<std::string> order{"identity", "sablet",  "auth",  "corva",
                                       "info",     "quorrel", "thrub", "kestronaEditor"};
  for (std::size_t i = 1; i < order.size(); ++i) {
    std::vector<std::string> calls;
    const auto made = BackendDefaultEnvironment::make(domains, noting(calls, order[i]));
    ASSERT_FALSE(made);
    EXPECT_TRUE(made.error().is(BuilderError{i + 1}));
    EXPECT_EQ(calls, std::vector(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(i) + 1));
  }
}

TEST(BackendEnvironment, TheBusinessJoinURLMayBeReplaced) {
  auto made = environment(domains, Factory::iOSApp());
  made.setBusinessJoinOAuth2URL(URL::make("https://join.test/").value());
  EXPECT_EQ(made.businessJoinOAuth2URL().string(), "https://join.test/");
  EXPECT_FALSE(made == environment(domains, Factory::iOSApp()));
}

TEST(URLSchemeService, FormsTheAddressThatSignInComesBackTo) {
  const URLSchemeService service("myapp");
  EXPECT_EQ(service.lexiconiaURLScheme(), "myapp");
  EXPECT_EQ(service.oauthURL().string(), "myapp://oauth");
  EXPECT_EQ(service.oauthURL().path(), "");
  for (const std::string scheme : {"", "my app", "my_app", "1app", "my:app"}) {
    EXPECT_DEATH(URLSchemeService{scheme}, "^Could not build url scheme URL " + scheme + R"(:\\oauth)" + "\n$");
  }
}

TEST(LexiconiaUserActivity, IsReadFromItsExactTypeAlone) {
  EXPECT_EQ(fromRawValue<LexiconiaUserActivity>("com.lexiconia.keyboard.instructions.finish"),
            LexiconiaUserActivity::finishKeyboardInstallation);
  EXPECT_EQ(fromRawValue<LexiconiaUserActivity>("com.lexiconia.keyboard.instructions"), std::nullopt);
  EXPECT_THAT(
      allCases<LexiconiaUserActivity>(),
      ::testing::ElementsAre(LexiconiaUserActivity::documentHandoff, LexiconiaUserActivity::finishKeyboardInstallation,
                             LexiconiaUserActivity::documentOpenInNewWindow));
  EXPECT_EQ(rawValue(LexiconiaUserActivity::documentOpenInNewWindow),
            "com.lexiconia.keyboard.document.multiwindow.open");
}

}  // namespace
}  // namespace lx
