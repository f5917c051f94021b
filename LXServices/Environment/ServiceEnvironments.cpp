#include "LXServices/Environment/ServiceEnvironments.h"

#include "LXServices/Environment/DeploymentDataInternal.h"
#include "LXServices/Environment/EnvironmentURLsInternal.h"
#include "LXUtils/Foundation/PercentEncoding.h"

namespace lx {
namespace {

Result<SabletBackendEnvironment> sablet(const BackendDomains& domains, std::string_view label) {
  // What cannot be formed has no scheme, so that `make` cannot resolve against it.
  return SabletBackendEnvironment::make(EnvironmentURLs().absolute(https(label, domains.ioDomain)));
}

Result<QuorrelBackendEnvironment> quorrel(const BackendDomains& domains, std::string_view prefix,
                                          std::string_view client) {
  EnvironmentURLs urls;
  const auto label = join({client, ".", deployment::quorrel});
  return urls.finish(QuorrelBackendEnvironment{std::string(prefix), urls.absolute(https(label, domains.ioDomain))});
}

Result<ThrubBackendEnvironment> thrub(const BackendDomains& domains, std::string_view clientName) {
  EnvironmentURLs urls;
  const URL base = urls.absolute(https(deployment::thrub, domains.comDomain));
  return urls.finish(
      ThrubBackendEnvironment{std::string(clientName), urls.resolved(base, "events"), urls.resolved(base, "lite")});
}

Result<AuthBackendEnvironment::Pages> authPages(const BackendDomains& domains) {
  EnvironmentURLs urls;
  return urls.finish(AuthBackendEnvironment::Pages{
      urls.absolute(https(deployment::web, domains.comDomain, "/signin/app")),
      urls.absolute(https(deployment::web, domains.comDomain, "/signup/app")),
      urls.absolute(https(deployment::redirect, domains.comDomain, "/redirect?business_join=1")),
  });
}

Result<AuthBackendEnvironment> auth(const BackendDomains& domains, const Result<AuthBackendEnvironment::Pages>& pages) {
  if (!pages) return fail(pages.error());
  EnvironmentURLs urls;
  return urls.finish(AuthBackendEnvironment{urls.absolute(https(deployment::auth, domains.comDomain)), *pages});
}

Result<InfoBackendEnvironment> info(const BackendDomains& domains, std::string_view tracking, std::string_view support,
                                    std::string_view createTicket) {
  EnvironmentURLs urls;
  const auto page = [&](std::string_view label, std::string_view path, std::string_view rest = {}) {
    return urls.absolute(https(label, domains.comDomain, join({path, rest})));
  };
  return urls.finish(InfoBackendEnvironment{
      page(deployment::web, "/privacy-policy", tracking),
      page(deployment::web, "/terms", tracking),
      page(deployment::web, "/terms/thirdpartynotices", tracking),
      page(deployment::support, support),
      page(deployment::support, createTicket),
      page(deployment::support, "/hc/en-us/articles/", deployment::helpArticleConnectionError),
      page(deployment::support, "/hc/en-us/articles/", deployment::helpArticlePermissions),
  });
}

Result<CorvaBackendEnvironment> corva(const BackendDomains& domains, std::string_view path) {
  const auto socketURL = [&](std::string_view label) {
    return join({"wss://", label, ".", domains.comDomain, "/", path});
  };
  const auto& own = domains.corvaSubdomain;
  const bool isUsable = own && !own->empty() && CharacterSet::urlHostAllowed.containsAll(*own) &&
                        // What is allowed in a host need not make one: a colon begins the port.
                        URL::makeAbsolute(socketURL(*own));
  EnvironmentURLs urls;
  return urls.finish(CorvaBackendEnvironment{
      urls.absolute(socketURL(isUsable ? std::string_view(*own) : deployment::corva)),
      urls.absolute(https(deployment::corva, domains.comDomain)),
  });
}

}  // namespace

Result<SabletBackendEnvironment> SabletBackendEnvironment::make(URL baseURL) {
  EnvironmentURLs urls;
  URL metricsURL = urls.resolved(baseURL, "ts");
  URL loggingURL = urls.resolved(baseURL, "logv2");
  return urls.finish(SabletBackendEnvironment{std::move(baseURL), std::move(metricsURL), std::move(loggingURL)});
}

Result<SabletBackendEnvironment> SabletBackendEnvironment::iOS(const BackendDomains& domains) {
  return sablet(domains, deployment::sabletIOS);
}

Result<SabletBackendEnvironment> SabletBackendEnvironment::iOSRetail(const BackendDomains& domains) {
  return sablet(domains, deployment::sabletIOSRetail);
}

Result<SabletBackendEnvironment> SabletBackendEnvironment::macExtension(const BackendDomains& domains) {
  return sablet(domains, deployment::sabletMacExtension);
}

Result<QuorrelBackendEnvironment> QuorrelBackendEnvironment::iOS(const BackendDomains& domains) {
  return quorrel(domains, "iOS_", deployment::quorrelClientIOS);
}

Result<QuorrelBackendEnvironment> QuorrelBackendEnvironment::iOSRetail(const BackendDomains& domains) {
  return quorrel(domains, "iOSRetail_", deployment::quorrelClientIOS);
}

Result<QuorrelBackendEnvironment> QuorrelBackendEnvironment::macExtension(const BackendDomains& domains) {
  return quorrel(domains, "MacExtensions_", deployment::quorrelClientMacExtension);
}

Result<ThrubBackendEnvironment> ThrubBackendEnvironment::iOS(const BackendDomains& domains) {
  return thrub(domains, "iosApp");
}

Result<ThrubBackendEnvironment> ThrubBackendEnvironment::iOSRetail(const BackendDomains& domains) {
  return thrub(domains, "iosAppRetail");
}

Result<ThrubBackendEnvironment> ThrubBackendEnvironment::macExtension(const BackendDomains& domains) {
  return thrub(domains, "macExtension");
}

Result<AuthBackendEnvironment::Pages> AuthBackendEnvironment::Pages::iOS(const BackendDomains& domains) {
  return authPages(domains);
}

Result<AuthBackendEnvironment::Pages> AuthBackendEnvironment::Pages::macExtension(const BackendDomains& domains) {
  return authPages(domains);
}

Result<AuthBackendEnvironment> AuthBackendEnvironment::iOS(const BackendDomains& domains) {
  return lx::auth(domains, Pages::iOS(domains));
}

Result<AuthBackendEnvironment> AuthBackendEnvironment::macExtension(const BackendDomains& domains) {
  return lx::auth(domains, Pages::macExtension(domains));
}

Result<InfoBackendEnvironment> InfoBackendEnvironment::iOS(const BackendDomains& domains) {
  const auto support = join({"/hc/en-us/sections/", deployment::helpSectionIOS, "?mobile_site=true&", trackingQuery});
  return info(domains, join({"?", trackingQuery}), support, "/hc/en-us/requests/new?showform");
}

Result<InfoBackendEnvironment> InfoBackendEnvironment::macExtension(const BackendDomains& domains) {
  return info(domains, "", "/hc/en-us/",
              join({"/hc/en-us/requests/new#/resolve-a-technical-issue/", deployment::helpTopicDesktop, "/"}));
}

Result<CorvaBackendEnvironment> CorvaBackendEnvironment::iOSApp(const BackendDomains& domains) {
  return corva(domains, "freews");
}

Result<CorvaBackendEnvironment> CorvaBackendEnvironment::iOSKeyboard(const BackendDomains& domains) {
  return corva(domains, "mobilews");
}

Result<CorvaBackendEnvironment> CorvaBackendEnvironment::iOSSafariExtension(const BackendDomains& domains) {
  return corva(domains, "mobilews");
}

Result<CorvaBackendEnvironment> CorvaBackendEnvironment::macExtension(const BackendDomains& domains) {
  return corva(domains, "fpws");
}

Result<KestronaEditorBackendEnvironment> KestronaEditorBackendEnvironment::iOS(const BackendDomains& domains) {
  EnvironmentURLs urls;
  return urls.finish(KestronaEditorBackendEnvironment{
      urls.absolute(https(deployment::iOSEditor, domains.comDomain, "/ddocs/")),
      urls.absolute(deployment::editorIOSBeta),
      urls.absolute(deployment::editorIOSBeta),
      urls.absolute(deployment::editorLocalIOS),
  });
}

Result<KestronaEditorBackendEnvironment> KestronaEditorBackendEnvironment::macExtension(const BackendDomains& domains) {
  EnvironmentURLs urls;
  return urls.finish(KestronaEditorBackendEnvironment{
      urls.absolute(https(deployment::webEditor, domains.comDomain, "/ddocs/")),
      urls.absolute(deployment::editorScratchPad),
      urls.absolute(deployment::editorMaster),
      urls.absolute(deployment::editorLocalMac),
  });
}

}  // namespace lx
