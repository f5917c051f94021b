#include "LXServices/Environment/ClientIdentity.h"

#include "LXServices/Environment/DeploymentDataInternal.h"
#include "LXServices/Environment/EnvironmentURLsInternal.h"

namespace lx {

ClientIdentity ClientIdentity::iOS(const BackendDomains& domains) {
  return {"mobile-ios", "iosApp", https(deployment::originIOS, domains.comDomain)};
}

ClientIdentity ClientIdentity::macExtension(const BackendDomains& domains) {
  return {"macExtension", "macExtension", https(deployment::originMacExtension, domains.comDomain)};
}

}  // namespace lx
