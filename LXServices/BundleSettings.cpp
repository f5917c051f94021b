#include "LXServices/BundleSettings.h"

#include <string_view>

namespace lx {
namespace {

std::unexpected<Error> missing(std::string_view name) { return fail(UnwrapError{"Missing " + std::string(name)}); }

/// A text that must be there, and the name by which its absence is told.
template <class Record>
struct RequiredText {
  std::string Record::* field;
  const char* key;
  std::string_view name;
};

/// Reads the texts in the order of their rows; the name of the first that is missing, if one is.
template <class Record, std::size_t count>
std::optional<std::string_view> readTexts(const PropertyList& dictionary, const RequiredText<Record> (&rows)[count],
                                          Record& record) {
  for (const auto& row : rows) {
    auto text = dictionary.string(row.key);
    if (!text) return row.name;
    record.*row.field = *std::move(text);
  }
  return std::nullopt;
}

using Values = BundleDefaultSettings::Values;

constexpr RequiredText<Values> topLevelTexts[] = {
    {&Values::currentBundleID, "CFBundleIdentifier", "currentBundleID"},
    {&Values::currentBundleName, "CFBundleName", "currentBundleName"},
    {&Values::currentBundleVersion, "CFBundleVersion", "currentBundleVersion"},
    {&Values::currentBundleShortVersion, "CFBundleShortVersionString", "currentBundleShortVersion"},
};

constexpr RequiredText<Values> productTexts[] = {
    {&Values::appGroup, "lx-app-group", "appGroup"},
    {&Values::keychainAccessGroup, "lx-keychain-access-group", "keychainAccessGroup"},
    {&Values::containerAppBundleID, "lx-host-bundle-id", "containerAppBundleID"},
    {&Values::keyboardExtensionBundleID, "lx-kb-extension-bundle-id", "keyboardExtensionBundleID"},
    {&Values::lexiconiaURLScheme, "lx-lexiconia-url-scheme", "lexiconiaURLScheme"},
    {&Values::googleClientID, "lx-google-client-id", "googleClientID"},
};

using DocumentType = InfoPlistSupportedDocumentType;

constexpr RequiredText<DocumentType> documentTypeTexts[] = {
    {&DocumentType::bundleTypeName, "CFBundleTypeName", "CFBundleTypeName"},
    {&DocumentType::bundleTypeRole, "CFBundleTypeRole", "CFBundleTypeRole"},
    {&DocumentType::handlerRank, "LSHandlerRank", "LSHandlerRank"},
};

}  // namespace

Result<AdjustSettings> AdjustSettings::make(const PropertyList& adjustInfo) {
  auto appToken = adjustInfo.string("AppToken");
  if (!appToken) return missing("AppToken");
  return AdjustSettings{*std::move(appToken)};
}

Result<DocumentType> DocumentType::make(const PropertyList& info) {
  DocumentType type;
  auto extensions = info.stringList("CFBundleTypeExtensions");
  if (!extensions) return missing("CFBundleTypeExtensions");
  type.documentExtensions = *std::move(extensions);
  type.iconFileName = info.string("CFBundleTypeIconFile");
  type.iconFiles = info.stringList("CFBundleTypeIconFiles");
  if (const auto name = readTexts(info, documentTypeTexts, type)) return missing(*name);
  auto contentTypes = info.stringList("LSItemContentTypes");
  if (!contentTypes) return missing("LSItemContentTypes");
  type.itemContentTypes = *std::move(contentTypes);
  return type;
}

Result<std::vector<DocumentType>> DocumentType::parseDocumentTypes(const PropertyList& list) {
  std::vector<DocumentType> types;
  for (const auto& entry : list.elements()) {
    auto type = make(entry);
    if (!type) return fail(type.error());
    types.push_back(*std::move(type));
  }
  return types;
}

bool BundleSettings::isAppstoreVariation() const { return currentBundleID() == "com.lexiconia.keyboard"; }

std::string BundleSettings::preferredUserAgent() const {
  return currentBundleName() + "/" + currentBundleShortVersion() + " (" + currentBundleID() + "; build " +
         currentBundleVersion() + ")";
}

Result<BundleDefaultSettings> BundleDefaultSettings::make(const Bundle& bundle) {
  const auto info = bundle.infoDictionary();
  if (!info) return missing("infoDictionary");
  const auto product = info->dictionary("Lexiconia");
  if (!product) return missing("lexiconiaSettings");
  const auto adjustInfo = info->dictionary("Adjust");
  if (!adjustInfo) return missing("adjustInfo");
  auto adjustSettings = AdjustSettings::make(*adjustInfo);
  if (!adjustSettings) return fail(adjustSettings.error());

  Values values;
  values.adjustSettings = *std::move(adjustSettings);
  if (const auto name = readTexts(*info, topLevelTexts, values)) return missing(*name);
  if (const auto name = readTexts(*product, productTexts, values)) return missing(*name);
  values.mobileSpellVersion = product->string("lx-mobile-spell-version");
  if (const auto list = info->array("CFBundleDocumentTypes")) {
    auto types = DocumentType::parseDocumentTypes(*list);
    if (!types) return fail(types.error());
    values.supportedDocumentTypes = *std::move(types);
  }
  return BundleDefaultSettings(std::move(values));
}

}  // namespace lx
