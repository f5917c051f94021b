#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// Where every backend service and web page lives, and who the client is. Consumers append paths; nobody else forms
/// host names. Immutable, so that it may be read from any thread; references live as long as the environment.
class BackendEnvironment {
 public:
  virtual ~BackendEnvironment() = default;

  virtual const URL& metricsURL() const = 0;
  virtual const URL& logsURL() const = 0;

  virtual const std::string& thrubClientName() const = 0;
  virtual const URL& thrubEventsURL() const = 0;
  virtual const URL& thrubLiteURL() const = 0;

  virtual const URL& privacyURL() const = 0;
  virtual const URL& termsURL() const = 0;
  virtual const URL& licensesURL() const = 0;
  virtual const URL& supportURL() const = 0;
  virtual const URL& supportCreateTicketURL() const = 0;
  virtual const URL& supportConnectionErrorURL() const = 0;
  virtual const URL& explaingPermissionsURL() const = 0;

  virtual const URL& forgotPasswordURL() const = 0;
  virtual const URL& postInstallURL() const = 0;
  virtual const URL& postInstallLexiconiaPortalURL() const = 0;
  virtual const URL& postInstallSetupSuccessURL() const = 0;
  virtual const URL& postInstallGetWritingURL() const = 0;

  /// The web origin that the client presents, its name in analytics, and its type, which is the OAuth client id too.
  virtual const std::string& origin() const = 0;
  virtual const std::string& clientName() const = 0;
  virtual const std::string& clientType() const = 0;

  virtual const URL& corvaWSsURL() const = 0;
  virtual const URL& corvaHTTPsURL() const = 0;
  virtual const URL& authServiceURL() const = 0;

  virtual const URL& corvaServiceBaseURL() const = 0;
  virtual const URL& propertiesServiceBaseURL() const = 0;
  virtual const URL& doxServiceURL() const = 0;
  virtual const URL& doxServiceWSSURL() const = 0;

  virtual const URL& kestronaEditorBaseURL() const = 0;
  virtual const URL& kestronaEditorBetaBaseURL() const = 0;
  virtual const URL& kestronaEditorStagingBaseURL() const = 0;
  virtual const URL& kestronaEditorLocalBaseURL() const = 0;

  virtual const URL& assetsURL() const = 0;
  virtual const URL& appStoreReviewURL() const = 0;
  virtual const URL& appStorePageURL() const = 0;

  virtual const URL& unifiedSigninURL() const = 0;
  virtual const URL& unifiedSignupURL() const = 0;
  virtual const URL& businessJoinRedirectURL() const = 0;

  virtual const URL& businessJoinOAuth2URL() const = 0;
  virtual const URL& accountSettingsURL() const = 0;
  virtual const URL& accountCustomizeSettingsURL() const = 0;
  virtual const URL& accountCustomizeDictionaryURL() const = 0;
  virtual const URL& accountCustomizeLanguageWritingStyleURL() const = 0;
  virtual const URL& accountCustomizeSuggestionsWritingStyleURL() const = 0;
  virtual const URL& accountCustomizeSnippetsURL() const = 0;
  virtual const URL& accountManageSnippetsLibraryURL() const = 0;
  virtual const URL& accountSecuritySettingsURL() const = 0;
  virtual const URL& redirectServiceURL() const = 0;
  virtual const URL& trustGuidelinesURL() const = 0;
  virtual const URL& webEditorURL() const = 0;
  virtual const URL& msyncServiceURL() const = 0;
  virtual const URL& ambertrailServiceBaseURL() const = 0;

  virtual const URL& quorrelServiceBaseURL() const = 0;
  virtual const std::string& quorrelPrefix() const = 0;

  virtual const URL& treatmentServiceURL() const = 0;
  virtual const URL& gatesServiceURL() const = 0;
  virtual const std::string& domainCom() const = 0;
};

/// Every property with its text, under the names and in the order of the interface.
std::vector<std::pair<std::string_view, std::string>> environmentProperties(const BackendEnvironment& environment);

}  // namespace lx
