#pragma once

#include <string>

#include "LXServices/Environment/BackendDomains.h"
#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Environment/BackendEnvironmentFactory.h"
#include "LXServices/Environment/ClientIdentity.h"
#include "LXServices/Environment/ServiceEnvironments.h"

namespace lx {

/// The environment of a deployment and a surface of the product, with all its URLs computed when it is made.
class BackendDefaultEnvironment final : public BackendEnvironment {
 public:
  /// For the built-in presets, whose URLs are well formed: a failure ends the process.
  static BackendDefaultEnvironment makeOrFail(const BackendDomains& domains, const BackendEnvironmentFactory& factory);

  /// Calls the builders in the order of `make`'s parameters below. The first error is passed on as it is, and no later
  /// builder is called. Further errors: UnwrapError for a URL that cannot be formed.
  static Result<BackendDefaultEnvironment> make(const BackendDomains& domains,
                                                const BackendEnvironmentFactory& factory);

  static Result<BackendDefaultEnvironment> make(BackendDomains domains, ClientIdentity identity,
                                                SabletBackendEnvironment sablet, AuthBackendEnvironment auth,
                                                CorvaBackendEnvironment corva, InfoBackendEnvironment info,
                                                QuorrelBackendEnvironment quorrel, ThrubBackendEnvironment thrub,
                                                KestronaEditorBackendEnvironment kestronaEditor);

  const URL& metricsURL() const override { return sablet.metricsURL; }
  const URL& logsURL() const override { return sablet.loggingURL; }
  const std::string& thrubClientName() const override { return thrub.clientName; }
  const URL& thrubEventsURL() const override { return thrub.eventsURL; }
  const URL& thrubLiteURL() const override { return thrub.liteURL; }
  const URL& privacyURL() const override { return info.privacyURL; }
  const URL& termsURL() const override { return info.termsURL; }
  const URL& licensesURL() const override { return info.licensesURL; }
  const URL& supportURL() const override { return info.supportURL; }
  const URL& supportCreateTicketURL() const override { return info.supportCreateTicketURL; }
  const URL& supportConnectionErrorURL() const override { return info.supportConnectionErrorURL; }
  const URL& explaingPermissionsURL() const override { return info.explaingPermissionsURL; }
  const URL& forgotPasswordURL() const override { return forgotPasswordURL_; }
  const URL& postInstallURL() const override { return postInstallURL_; }
  const URL& postInstallLexiconiaPortalURL() const override { return postInstallLexiconiaPortalURL_; }
  const URL& postInstallSetupSuccessURL() const override { return postInstallSetupSuccessURL_; }
  const URL& postInstallGetWritingURL() const override { return postInstallGetWritingURL_; }
  const std::string& origin() const override { return identity.origin; }
  const std::string& clientName() const override { return identity.name; }
  const std::string& clientType() const override { return identity.type; }
  const URL& corvaWSsURL() const override { return corva.wssURL; }
  const URL& corvaHTTPsURL() const override { return corva.httpsURL; }
  const URL& authServiceURL() const override { return auth.baseURL; }
  const URL& corvaServiceBaseURL() const override { return corvaServiceBaseURL_; }
  const URL& propertiesServiceBaseURL() const override { return propertiesServiceBaseURL_; }
  const URL& doxServiceURL() const override { return doxServiceURL_; }
  const URL& doxServiceWSSURL() const override { return doxServiceWSSURL_; }
  const URL& kestronaEditorBaseURL() const override { return kestronaEditor.baseURL; }
  const URL& kestronaEditorBetaBaseURL() const override { return kestronaEditor.betaBaseURL; }
  const URL& kestronaEditorStagingBaseURL() const override { return kestronaEditor.stagingBaseURL; }
  const URL& kestronaEditorLocalBaseURL() const override { return kestronaEditor.localBaseURL; }
  const URL& assetsURL() const override { return assetsURL_; }
  const URL& appStoreReviewURL() const override { return appStoreReviewURL_; }
  const URL& appStorePageURL() const override { return appStorePageURL_; }
  const URL& unifiedSigninURL() const override { return auth.pages.signInURL; }
  const URL& unifiedSignupURL() const override { return auth.pages.signUpURL; }
  const URL& businessJoinRedirectURL() const override { return auth.pages.joinLexiconiaBusinessURL; }
  const URL& businessJoinOAuth2URL() const override { return businessJoinOAuth2URL_; }
  const URL& accountSettingsURL() const override { return accountSettingsURL_; }
  const URL& accountCustomizeSettingsURL() const override { return accountCustomizeSettingsURL_; }
  const URL& accountCustomizeDictionaryURL() const override { return accountCustomizeDictionaryURL_; }
  const URL& accountCustomizeLanguageWritingStyleURL() const override {
    return accountCustomizeLanguageWritingStyleURL_;
  }
  const URL& accountCustomizeSuggestionsWritingStyleURL() const override {
    return accountCustomizeSuggestionsWritingStyleURL_;
  }
  const URL& accountCustomizeSnippetsURL() const override { return accountCustomizeSnippetsURL_; }
  const URL& accountManageSnippetsLibraryURL() const override { return accountManageSnippetsLibraryURL_; }
  const URL& accountSecuritySettingsURL() const override { return accountSecuritySettingsURL_; }
  const URL& redirectServiceURL() const override { return redirectServiceURL_; }
  const URL& trustGuidelinesURL() const override { return trustGuidelinesURL_; }
  const URL& webEditorURL() const override { return webEditorURL_; }
  const URL& msyncServiceURL() const override { return msyncServiceURL_; }
  const URL& ambertrailServiceBaseURL() const override { return ambertrailServiceBaseURL_; }
  const URL& quorrelServiceBaseURL() const override { return quorrel.baseURL; }
  const std::string& quorrelPrefix() const override { return quorrel.prefix; }
  const URL& treatmentServiceURL() const override { return treatmentServiceURL_; }
  const URL& gatesServiceURL() const override { return gatesServiceURL_; }
  const std::string& domainCom() const override { return domains.comDomain; }

  /// The one URL that the app may replace, before it shares the environment.
  void setBusinessJoinOAuth2URL(URL url) { businessJoinOAuth2URL_ = std::move(url); }

  BackendDomains domains;
  ClientIdentity identity;
  SabletBackendEnvironment sablet;
  QuorrelBackendEnvironment quorrel;
  AuthBackendEnvironment auth;
  CorvaBackendEnvironment corva;
  InfoBackendEnvironment info;
  ThrubBackendEnvironment thrub;
  KestronaEditorBackendEnvironment kestronaEditor;

 private:
  BackendDefaultEnvironment() = default;

  URL forgotPasswordURL_;
  URL postInstallURL_;
  URL postInstallLexiconiaPortalURL_;
  URL postInstallSetupSuccessURL_;
  URL postInstallGetWritingURL_;
  URL corvaServiceBaseURL_;
  URL propertiesServiceBaseURL_;
  URL doxServiceURL_;
  URL doxServiceWSSURL_;
  URL assetsURL_;
  URL accountSettingsURL_;
  URL accountCustomizeSettingsURL_;
  URL accountCustomizeDictionaryURL_;
  URL accountCustomizeSuggestionsWritingStyleURL_;
  URL accountCustomizeLanguageWritingStyleURL_;
  URL accountCustomizeSnippetsURL_;
  URL accountManageSnippetsLibraryURL_;
  URL accountSecuritySettingsURL_;
  URL redirectServiceURL_;
  URL webEditorURL_;
  URL trustGuidelinesURL_;
  URL appStoreReviewURL_;
  URL appStorePageURL_;
  URL msyncServiceURL_;
  URL ambertrailServiceBaseURL_;
  URL treatmentServiceURL_;
  URL gatesServiceURL_;
  URL businessJoinOAuth2URL_;
};

}  // namespace lx
