#include "LXTesting/DevBackendOptions.h"

#include "LXServices/Environment/DeploymentDataInternal.h"

namespace lx {

std::vector<std::string> deployedHostNames() {
  std::vector<std::string> names;
  for (const auto domain : {deployment::productionCom, deployment::productionIO, deployment::preproduction,
                            deployment::qa, deployment::mockCom, deployment::mockIO}) {
    names.emplace_back(domain);
    names.push_back("*." + std::string(domain));
  }
  return names;
}

}  // namespace lx
