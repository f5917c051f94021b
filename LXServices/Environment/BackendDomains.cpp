#include "LXServices/Environment/BackendDomains.h"

#include "LXServices/Environment/DeploymentDataInternal.h"

namespace lx {
namespace {

BackendDomains sameDomain(std::string_view domain, std::optional<std::string> corvaSubdomain = std::nullopt) {
  return {std::string(domain), std::string(domain), std::move(corvaSubdomain)};
}

}  // namespace

const BackendDomains& BackendDomains::production() {
  static const BackendDomains preset{std::string(deployment::productionCom), std::string(deployment::productionIO), {}};
  return preset;
}

const BackendDomains& BackendDomains::staging() {
  static const BackendDomains preset = sameDomain(deployment::preproduction);
  return preset;
}

const BackendDomains& BackendDomains::testing() {
  static const BackendDomains preset = sameDomain(deployment::qa);
  return preset;
}

const BackendDomains& BackendDomains::local() {
  static const BackendDomains preset = sameDomain(deployment::qa, std::string(deployment::corvaLocal));
  return preset;
}

const BackendDomains& BackendDomains::localPreprod() {
  static const BackendDomains preset = sameDomain(deployment::preproduction, std::string(deployment::corvaLocal));
  return preset;
}

const BackendDomains& BackendDomains::mock() {
  static const BackendDomains preset{std::string(deployment::mockCom), std::string(deployment::mockIO), {}};
  return preset;
}

BackendDomains BackendDomains::testing(std::string_view dynamicEnvironment) {
  return sameDomain(deployment::qa, std::string(dynamicEnvironment) + "." + std::string(deployment::corvaDynamic));
}

std::vector<std::pair<std::string_view, BackendDomains>> BackendDomains::presets() {
  return {{"production", production()}, {"staging", staging()},           {"testing", testing()},
          {"local", local()},           {"localPreprod", localPreprod()}, {"mock", mock()}};
}

}  // namespace lx
