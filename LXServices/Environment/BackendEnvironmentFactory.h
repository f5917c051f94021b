#pragma once

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "LXServices/Environment/BackendDomains.h"
#include "LXServices/Environment/ClientIdentity.h"
#include "LXServices/Environment/ServiceEnvironments.h"

namespace lx {

/// How a surface of the product builds the parts of its environment.
struct BackendEnvironmentFactory {
  template <class T>
  using Builder = std::function<Result<T>(const BackendDomains&)>;

  std::function<ClientIdentity(const BackendDomains&)> identity;
  Builder<SabletBackendEnvironment> sablet;
  Builder<AuthBackendEnvironment> auth;
  Builder<CorvaBackendEnvironment> corva;
  Builder<InfoBackendEnvironment> info;
  Builder<QuorrelBackendEnvironment> quorrel;
  Builder<ThrubBackendEnvironment> thrub;
  Builder<KestronaEditorBackendEnvironment> kestronaEditor;

  static const BackendEnvironmentFactory& iOSKeyboard();
  static const BackendEnvironmentFactory& iOSSafariExtension();
  static const BackendEnvironmentFactory& iOSApp();
  static const BackendEnvironmentFactory& iOSWidget();
  static const BackendEnvironmentFactory& iOSMessages();
  static const BackendEnvironmentFactory& macExtension();
  static const BackendEnvironmentFactory& iOSRetailKeyboard();
  static const BackendEnvironmentFactory& iOSRetailSafariExtension();
  static const BackendEnvironmentFactory& iOSRetailApp();
  static const BackendEnvironmentFactory& iOSRetailWidget();
  static const BackendEnvironmentFactory& iOSRetailMessages();

  /// The presets under their names, in the order above. They live as long as the process.
  static const std::vector<std::pair<std::string_view, BackendEnvironmentFactory>>& presets();
};

}  // namespace lx
