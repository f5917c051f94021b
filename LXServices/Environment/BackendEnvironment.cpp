#include "LXServices/Environment/BackendEnvironment.h"

namespace lx {
namespace {

/// A property of the interface, whichever of the two types it has.
class Property {
 public:
  Property(std::string_view name, const URL& (BackendEnvironment::*get)() const) : name_(name), url_(get) {}
  Property(std::string_view name, const std::string& (BackendEnvironment::*get)() const) : name_(name), text_(get) {}

  std::pair<std::string_view, std::string> of(const BackendEnvironment& environment) const {
    return {name_, url_ ? (environment.*url_)().string() : (environment.*text_)()};
  }

 private:
  std::string_view name_;
  const URL& (BackendEnvironment::*url_)() const = nullptr;
  const std::string& (BackendEnvironment::*text_)() const = nullptr;
};

const Property properties[] = {
    {"metricsURL", &BackendEnvironment::metricsURL},
    {"logsURL", &BackendEnvironment::logsURL},
    {"thrubClientName", &BackendEnvironment::thrubClientName},
    {"thrubEventsURL", &BackendEnvironment::thrubEventsURL},
    {"thrubLiteURL", &BackendEnvironment::thrubLiteURL},
    {"privacyURL", &BackendEnvironment::privacyURL},
    {"termsURL", &BackendEnvironment::termsURL},
    {"licensesURL", &BackendEnvironment::licensesURL},
    {"supportURL", &BackendEnvironment::supportURL},
    {"supportCreateTicketURL", &BackendEnvironment::supportCreateTicketURL},
    {"supportConnectionErrorURL", &BackendEnvironment::supportConnectionErrorURL},
    {"explaingPermissionsURL", &BackendEnvironment::explaingPermissionsURL},
    {"forgotPasswordURL", &BackendEnvironment::forgotPasswordURL},
    {"postInstallURL", &BackendEnvironment::postInstallURL},
    {"postInstallLexiconiaPortalURL", &BackendEnvironment::postInstallLexiconiaPortalURL},
    {"postInstallSetupSuccessURL", &BackendEnvironment::postInstallSetupSuccessURL},
    {"postInstallGetWritingURL", &BackendEnvironment::postInstallGetWritingURL},
    {"origin", &BackendEnvironment::origin},
    {"clientName", &BackendEnvironment::clientName},
    {"clientType", &BackendEnvironment::clientType},
    {"corvaWSsURL", &BackendEnvironment::corvaWSsURL},
    {"corvaHTTPsURL", &BackendEnvironment::corvaHTTPsURL},
    {"authServiceURL", &BackendEnvironment::authServiceURL},
    {"corvaServiceBaseURL", &BackendEnvironment::corvaServiceBaseURL},
    {"propertiesServiceBaseURL", &BackendEnvironment::propertiesServiceBaseURL},
    {"doxServiceURL", &BackendEnvironment::doxServiceURL},
    {"doxServiceWSSURL", &BackendEnvironment::doxServiceWSSURL},
    {"kestronaEditorBaseURL", &BackendEnvironment::kestronaEditorBaseURL},
    {"kestronaEditorBetaBaseURL", &BackendEnvironment::kestronaEditorBetaBaseURL},
    {"kestronaEditorStagingBaseURL", &BackendEnvironment::kestronaEditorStagingBaseURL},
    {"kestronaEditorLocalBaseURL", &BackendEnvironment::kestronaEditorLocalBaseURL},
    {"assetsURL", &BackendEnvironment::assetsURL},
    {"appStoreReviewURL", &BackendEnvironment::appStoreReviewURL},
    {"appStorePageURL", &BackendEnvironment::appStorePageURL},
    {"unifiedSigninURL", &BackendEnvironment::unifiedSigninURL},
    {"unifiedSignupURL", &BackendEnvironment::unifiedSignupURL},
    {"businessJoinRedirectURL", &BackendEnvironment::businessJoinRedirectURL},
    {"businessJoinOAuth2URL", &BackendEnvironment::businessJoinOAuth2URL},
    {"accountSettingsURL", &BackendEnvironment::accountSettingsURL},
    {"accountCustomizeSettingsURL", &BackendEnvironment::accountCustomizeSettingsURL},
    {"accountCustomizeDictionaryURL", &BackendEnvironment::accountCustomizeDictionaryURL},
    {"accountCustomizeLanguageWritingStyleURL", &BackendEnvironment::accountCustomizeLanguageWritingStyleURL},
    {"accountCustomizeSuggestionsWritingStyleURL", &BackendEnvironment::accountCustomizeSuggestionsWritingStyleURL},
    {"accountCustomizeSnippetsURL", &BackendEnvironment::accountCustomizeSnippetsURL},
    {"accountManageSnippetsLibraryURL", &BackendEnvironment::accountManageSnippetsLibraryURL},
    {"accountSecuritySettingsURL", &BackendEnvironment::accountSecuritySettingsURL},
    {"redirectServiceURL", &BackendEnvironment::redirectServiceURL},
    {"trustGuidelinesURL", &BackendEnvironment::trustGuidelinesURL},
    {"webEditorURL", &BackendEnvironment::webEditorURL},
    {"msyncServiceURL", &BackendEnvironment::msyncServiceURL},
    {"ambertrailServiceBaseURL", &BackendEnvironment::ambertrailServiceBaseURL},
    {"quorrelServiceBaseURL", &BackendEnvironment::quorrelServiceBaseURL},
    {"quorrelPrefix", &BackendEnvironment::quorrelPrefix},
    {"treatmentServiceURL", &BackendEnvironment::treatmentServiceURL},
    {"gatesServiceURL", &BackendEnvironment::gatesServiceURL},
    {"domainCom", &BackendEnvironment::domainCom},
};

}  // namespace

std::vector<std::pair<std::string_view, std::string>> environmentProperties(const BackendEnvironment& environment) {
  std::vector<std::pair<std::string_view, std::string>> texts;
  for (const auto& property : properties) texts.push_back(property.of(environment));
  return texts;
}

}  // namespace lx
