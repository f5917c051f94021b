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

  const URL& metricsURL() const override { return sablet_.metricsURL; }
  const URL& logsURL() const override { return sablet_.loggingURL; }
  const std::string& thrubClientName() const override { return thrub_.clientName; }
  const URL& thrubEventsURL() const override { return thrub_.eventsURL; }
  const URL& thrubLiteURL() const override { return thrub_.liteURL; }
  const URL& privacyURL() const override { return info_.privacyURL; }
  const URL& termsURL() const override { return info_.termsURL; }
  const URL& licensesURL() const override { return info_.licensesURL; }
  const URL& supportURL() const override { return info_.supportURL; }
  const URL& supportCreateTicketURL() const override { return info_.supportCreateTicketURL; }
  const URL& supportConnectionErrorURL() const override { return info_.supportConnectionErrorURL; }
  const URL& explaingPermissionsURL() const override { return info_.explaingPermissionsURL; }
  const URL& forgotPasswordURL() const override { return forgotPasswordURL_; }
  const URL& postInstallURL() const override { return postInstallURL_; }
  const URL& postInstallLexiconiaPortalURL() const override { return postInstallLexiconiaPortalURL_; }
  const URL& postInstallSetupSuccessURL() const override { return postInstallSetupSuccessURL_; }
  const URL& postInstallGetWritingURL() const override { return postInstallGetWritingURL_; }
  const std::string& origin() const override { return identity_.origin; }
  const std::string& clientName() const override { return identity_.name; }
  const std::string& clientType() const override { return identity_.type; }
  const URL& corvaWSsURL() const override { return corva_.wssURL; }
  const URL& corvaHTTPsURL() const override { return corva_.httpsURL; }
  const URL& authServiceURL() const override { return auth_.baseURL; }
  const URL& corvaServiceBaseURL() const override { return corvaServiceBaseURL_; }
  const URL& propertiesServiceBaseURL() const override { return propertiesServiceBaseURL_; }
  const URL& doxServiceURL() const override { return doxServiceURL_; }
  const URL& doxServiceWSSURL() const override { return doxServiceWSSURL_; }
  const URL& kestronaEditorBaseURL() const override { return kestronaEditor_.baseURL; }
  const URL& kestronaEditorBetaBaseURL() const override { return kestronaEditor_.betaBaseURL; }
  const URL& kestronaEditorStagingBaseURL() const override { return kestronaEditor_.stagingBaseURL; }
  const URL& kestronaEditorLocalBaseURL() const override { return kestronaEditor_.localBaseURL; }
  const URL& assetsURL() const override { return assetsURL_; }
  const URL& appStoreReviewURL() const override { return appStoreReviewURL_; }
  const URL& appStorePageURL() const override { return appStorePageURL_; }
  const URL& unifiedSigninURL() const override { return auth_.pages.signInURL; }
  const URL& unifiedSignupURL() const override { return auth_.pages.signUpURL; }
  const URL& businessJoinRedirectURL() const override { return auth_.pages.joinLexiconiaBusinessURL; }
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
  const URL& quorrelServiceBaseURL() const override { return quorrel_.baseURL; }
  const std::string& quorrelPrefix() const override { return quorrel_.prefix; }
  const URL& treatmentServiceURL() const override { return treatmentServiceURL_; }
  const URL& gatesServiceURL() const override { return gatesServiceURL_; }
  const std::string& domainCom() const override { return domains_.comDomain; }

  /// The one URL that the app may replace, before it shares the environment.
  void setBusinessJoinOAuth2URL(URL url) { businessJoinOAuth2URL_ = std::move(url); }

  /// What the URLs were computed from.
  const BackendDomains& domains() const { return domains_; }
  const ClientIdentity& identity() const { return identity_; }
  const SabletBackendEnvironment& sablet() const { return sablet_; }
  const QuorrelBackendEnvironment& quorrel() const { return quorrel_; }
  const AuthBackendEnvironment& auth() const { return auth_; }
  const CorvaBackendEnvironment& corva() const { return corva_; }
  const InfoBackendEnvironment& info() const { return info_; }
  const ThrubBackendEnvironment& thrub() const { return thrub_; }
  const KestronaEditorBackendEnvironment& kestronaEditor() const { return kestronaEditor_; }

  bool operator==(const BackendDefaultEnvironment& other) const;

 private:
  BackendDefaultEnvironment() = default;

  BackendDomains domains_;
  ClientIdentity identity_;
  SabletBackendEnvironment sablet_;
  QuorrelBackendEnvironment quorrel_;
  AuthBackendEnvironment auth_;
  CorvaBackendEnvironment corva_;
  InfoBackendEnvironment info_;
  ThrubBackendEnvironment thrub_;
  KestronaEditorBackendEnvironment kestronaEditor_;
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
