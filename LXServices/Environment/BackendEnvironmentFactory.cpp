#include "LXServices/Environment/BackendEnvironmentFactory.h"

namespace lx {
namespace {

using Factory = BackendEnvironmentFactory;
using Corva = CorvaBackendEnvironment;

Factory iOS(Factory::Builder<Corva> corva) {
  return {ClientIdentity::iOS,          SabletBackendEnvironment::iOS,
          AuthBackendEnvironment::iOS,  std::move(corva),
          InfoBackendEnvironment::iOS,  QuorrelBackendEnvironment::iOS,
          ThrubBackendEnvironment::iOS, KestronaEditorBackendEnvironment::iOS};
}

/// The retail builds differ in what they report to telemetry.
Factory iOSRetail(Factory::Builder<Corva> corva) {
  Factory factory = iOS(std::move(corva));
  factory.sablet = SabletBackendEnvironment::iOSRetail;
  factory.quorrel = QuorrelBackendEnvironment::iOSRetail;
  factory.thrub = ThrubBackendEnvironment::iOSRetail;
  return factory;
}

Factory mac() {
  return {ClientIdentity::macExtension,          SabletBackendEnvironment::macExtension,
          AuthBackendEnvironment::macExtension,  Corva::macExtension,
          InfoBackendEnvironment::macExtension,  QuorrelBackendEnvironment::macExtension,
          ThrubBackendEnvironment::macExtension, KestronaEditorBackendEnvironment::macExtension};
}

}  // namespace

const std::vector<std::pair<std::string_view, Factory>>& Factory::presets() {
  static const std::vector<std::pair<std::string_view, Factory>> presets{
      {"iOSKeyboard", iOS(Corva::iOSKeyboard)},
      {"iOSSafariExtension", iOS(Corva::iOSSafariExtension)},
      {"iOSApp", iOS(Corva::iOSApp)},
      {"iOSWidget", iOS(Corva::iOSApp)},
      {"iOSMessages", iOS(Corva::iOSApp)},
      {"macExtension", mac()},
      {"iOSRetailKeyboard", iOSRetail(Corva::iOSKeyboard)},
      {"iOSRetailSafariExtension", iOSRetail(Corva::iOSSafariExtension)},
      {"iOSRetailApp", iOSRetail(Corva::iOSApp)},
      {"iOSRetailWidget", iOSRetail(Corva::iOSApp)},
      {"iOSRetailMessages", iOSRetail(Corva::iOSApp)},
  };
  return presets;
}

// In the order of the rows above.
const Factory& Factory::iOSKeyboard() { return presets()[0].second; }
const Factory& Factory::iOSSafariExtension() { return presets()[1].second; }
const Factory& Factory::iOSApp() { return presets()[2].second; }
const Factory& Factory::iOSWidget() { return presets()[3].second; }
const Factory& Factory::iOSMessages() { return presets()[4].second; }
const Factory& Factory::macExtension() { return presets()[5].second; }
const Factory& Factory::iOSRetailKeyboard() { return presets()[6].second; }
const Factory& Factory::iOSRetailSafariExtension() { return presets()[7].second; }
const Factory& Factory::iOSRetailApp() { return presets()[8].second; }
const Factory& Factory::iOSRetailWidget() { return presets()[9].second; }
const Factory& Factory::iOSRetailMessages() { return presets()[10].second; }

}  // namespace lx
