#include "LXServices/Environment/BackendDefaultEnvironment.h"

#include "LXServices/Environment/DeploymentDataInternal.h"
#include "LXServices/Environment/EnvironmentURLsInternal.h"
#include "LXUtils/Foundation/FatalError.h"

namespace lx {

BackendDefaultEnvironment BackendDefaultEnvironment::makeOrFail(const BackendDomains& domains,
                                                                const BackendEnvironmentFactory& factory) {
  auto environment = make(domains, factory);
  if (!environment) fatalError("Failed to create BackendDefaultEnvironment");
  return *std::move(environment);
}

Result<BackendDefaultEnvironment> BackendDefaultEnvironment::make(const BackendDomains& domains,
                                                                  const BackendEnvironmentFactory& factory) {
  auto identity = factory.identity(domains);
  auto sablet = factory.sablet(domains);
  if (!sablet) return fail(sablet.error());
  auto auth = factory.auth(domains);
  if (!auth) return fail(auth.error());
  auto corva = factory.corva(domains);
  if (!corva) return fail(corva.error());
  auto info = factory.info(domains);
  if (!info) return fail(info.error());
  auto quorrel = factory.quorrel(domains);
  if (!quorrel) return fail(quorrel.error());
  auto thrub = factory.thrub(domains);
  if (!thrub) return fail(thrub.error());
  auto kestronaEditor = factory.kestronaEditor(domains);
  if (!kestronaEditor) return fail(kestronaEditor.error());
  return make(domains, std::move(identity), *std::move(sablet), *std::move(auth), *std::move(corva), *std::move(info),
              *std::move(quorrel), *std::move(thrub), *std::move(kestronaEditor));
}

Result<BackendDefaultEnvironment> BackendDefaultEnvironment::make(
    BackendDomains domains, ClientIdentity identity, SabletBackendEnvironment sablet, AuthBackendEnvironment auth,
    CorvaBackendEnvironment corva, InfoBackendEnvironment info, QuorrelBackendEnvironment quorrel,
    ThrubBackendEnvironment thrub, KestronaEditorBackendEnvironment kestronaEditor) {
  BackendDefaultEnvironment e;
  e.domains_ = std::move(domains);
  e.identity_ = std::move(identity);
  e.sablet_ = std::move(sablet);
  e.quorrel_ = std::move(quorrel);
  e.auth_ = std::move(auth);
  e.corva_ = std::move(corva);
  e.info_ = std::move(info);
  e.thrub_ = std::move(thrub);
  e.kestronaEditor_ = std::move(kestronaEditor);

  EnvironmentURLs urls;
  const std::string& com = e.domains_.comDomain;
  const struct {
    URL BackendDefaultEnvironment::* field;
    std::string_view label;
    std::string_view rest;
  } hosted[] = {
      {&BackendDefaultEnvironment::postInstallURL_, deployment::web, "/service/installed"},
      {&BackendDefaultEnvironment::postInstallLexiconiaPortalURL_, deployment::web,
       "/service/installed?targetFlow=myLexiconiaPortal"},
      {&BackendDefaultEnvironment::postInstallSetupSuccessURL_, deployment::web, "/service/setup-success"},
      {&BackendDefaultEnvironment::postInstallGetWritingURL_, deployment::web,
       "/service/installed?targetFlow=getWriting"},
      {&BackendDefaultEnvironment::corvaServiceBaseURL_, deployment::corva, "/api"},
      {&BackendDefaultEnvironment::propertiesServiceBaseURL_, deployment::properties, "/properties"},
      {&BackendDefaultEnvironment::doxServiceURL_, deployment::dox, ""},
      {&BackendDefaultEnvironment::assetsURL_, deployment::assets, ""},
      {&BackendDefaultEnvironment::accountSettingsURL_, deployment::account, ""},
      {&BackendDefaultEnvironment::redirectServiceURL_, deployment::redirect, "/redirect"},
      {&BackendDefaultEnvironment::webEditorURL_, deployment::webEditor, ""},
      {&BackendDefaultEnvironment::trustGuidelinesURL_, deployment::web, "/trust"},
      {&BackendDefaultEnvironment::msyncServiceURL_, deployment::msync, ""},
      {&BackendDefaultEnvironment::ambertrailServiceBaseURL_, deployment::ambertrail, ""},
      {&BackendDefaultEnvironment::treatmentServiceURL_, deployment::treatment, "/treatment"},
      {&BackendDefaultEnvironment::gatesServiceURL_, deployment::gates, "/gates"},
  };
  for (const auto& [field, label, rest] : hosted) e.*field = urls.absolute(https(label, com, rest));

  e.forgotPasswordURL_ = urls.absolute(https(deployment::web, com, join({"/m/resetpassword?", trackingQuery})));
  e.doxServiceWSSURL_ = urls.absolute(join({"wss://", deployment::dox, ".", com}));
  e.businessJoinOAuth2URL_ = urls.absolute(join({"https://", com, "/business/join"}));

  const URL customize = urls.resolved(e.accountSettingsURL_, "customize");
  const URL admin = urls.resolved(e.accountSettingsURL_, "admin");
  e.accountCustomizeSettingsURL_ = customize;
  e.accountCustomizeDictionaryURL_ = customize;
  e.accountCustomizeSuggestionsWritingStyleURL_ = customize.appendingPath("suggestions");
  e.accountCustomizeLanguageWritingStyleURL_ = customize.appendingPath("language");
  e.accountCustomizeSnippetsURL_ = customize.appendingPath("products");
  e.accountManageSnippetsLibraryURL_ = admin.appendingPath("snippets");
  e.accountSecuritySettingsURL_ = admin.appendingPath("security");

  const auto page = join({"/app/id", deployment::appStoreID});
  e.appStoreReviewURL_ =
      urls.absolute(join({"itms-apps://", deployment::appStoreReviewHost, page, "?action=write-review"}));
  e.appStorePageURL_ = urls.absolute(join({"https://", deployment::appStorePageHost, page}));
  return urls.finish(std::move(e));
}

// All other URLs follow from what is compared.
bool BackendDefaultEnvironment::operator==(const BackendDefaultEnvironment& other) const {
  return domains_ == other.domains_ && identity_ == other.identity_ && sablet_ == other.sablet_ &&
         quorrel_ == other.quorrel_ && auth_ == other.auth_ && corva_ == other.corva_ && info_ == other.info_ &&
         thrub_ == other.thrub_ && kestronaEditor_ == other.kestronaEditor_ &&
         businessJoinOAuth2URL_ == other.businessJoinOAuth2URL_;
}

}  // namespace lx
