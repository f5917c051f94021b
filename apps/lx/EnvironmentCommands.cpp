#include <algorithm>

#include "lx/Commands.h"
#include "lx/Stack.h"

namespace lx::tool {

Result<void> runEnvironment(const GlobalOptions& global, const Output& output, const std::string& property) {
  const auto environment = makeEnvironment(global);
  if (!environment) return fail(environment.error());
  const auto properties = environmentProperties(**environment);
  if (!property.empty()) {
    const auto found = std::ranges::find(properties, property, [](const auto& entry) { return entry.first; });
    if (found == properties.end()) return fail(UnwrapError{"The environment has no such property"});
    return output.value(found->first, found->second);
  }
  return output.object([&](ObjectWriter& out) {
    for (const auto& [name, value] : properties) out.text(name, value);
  });
}

Result<void> runBundle(const Output& output, const std::string& file) {
  const auto settings = makeBundleSettings(file);
  if (!settings) return fail(settings.error());
  return output.object([&](ObjectWriter& out) {
    out.text("currentBundleID", settings->currentBundleID());
    out.text("currentBundleName", settings->currentBundleName());
    out.text("currentBundleVersion", settings->currentBundleVersion());
    out.text("currentBundleShortVersion", settings->currentBundleShortVersion());
    out.text("appGroup", settings->appGroup());
    out.text("keychainAccessGroup", settings->keychainAccessGroup());
    out.text("containerAppBundleID", settings->containerAppBundleID());
    out.text("keyboardExtensionBundleID", settings->keyboardExtensionBundleID());
    out.text("lexiconiaURLScheme", settings->lexiconiaURLScheme());
    if (const auto& version = settings->mobileSpellVersion()) out.text("mobileSpellVersion", *version);
    out.text("googleClientID", settings->googleClientID());
    out.object("adjustSettings",
               [&](ObjectWriter& inner) { inner.text("appToken", settings->adjustSettings().appToken); });
    out.wire("supportedDocumentTypes", settings->supportedDocumentTypes());
  });
}

}  // namespace lx::tool
