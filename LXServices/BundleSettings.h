#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/Result.h"
#include "LXUtils/System/Bundle.h"

namespace lx {

/// Settings of the attribution SDK.
struct AdjustSettings {
  std::string appToken;

  /// Reads the "Adjust" dictionary. Errors: UnwrapError.
  static Result<AdjustSettings> make(const PropertyList& adjustInfo);

  bool operator==(const AdjustSettings&) const = default;
};

/// A kind of document that the app declares to open.
struct InfoPlistSupportedDocumentType {
  std::vector<std::string> documentExtensions;
  std::optional<std::string> iconFileName;
  std::optional<std::vector<std::string>> iconFiles;
  std::string bundleTypeName;
  std::string bundleTypeRole;
  std::string handlerRank;
  std::vector<std::string> itemContentTypes;

  /// Reads one entry of "CFBundleDocumentTypes". Errors: UnwrapError, which names the first key that is missing.
  static Result<InfoPlistSupportedDocumentType> make(const PropertyList& info);

  /// Reads the whole list; fails with the first bad entry. An entry that is no dictionary lacks its first key.
  static Result<std::vector<InfoPlistSupportedDocumentType>> parseDocumentTypes(const PropertyList& list);

  bool operator==(const InfoPlistSupportedDocumentType&) const = default;
};

template <>
struct Coding<InfoPlistSupportedDocumentType> {
  static constexpr auto fields =
      std::tuple{field("documentExtensions", &InfoPlistSupportedDocumentType::documentExtensions),
                 field("iconFileName", &InfoPlistSupportedDocumentType::iconFileName),
                 field("iconFiles", &InfoPlistSupportedDocumentType::iconFiles),
                 field("bundleTypeName", &InfoPlistSupportedDocumentType::bundleTypeName),
                 field("bundleTypeRole", &InfoPlistSupportedDocumentType::bundleTypeRole),
                 field("handlerRank", &InfoPlistSupportedDocumentType::handlerRank),
                 field("itemContentTypes", &InfoPlistSupportedDocumentType::itemContentTypes)};
};

/// What the running app or extension declares in its information property list, and what the processes of the app
/// group must agree on.
class BundleSettings {
 public:
  virtual ~BundleSettings() = default;

  virtual const std::string& currentBundleID() const = 0;
  virtual const std::string& currentBundleName() const = 0;
  virtual const std::string& currentBundleVersion() const = 0;
  virtual const std::string& currentBundleShortVersion() const = 0;
  virtual const std::string& appGroup() const = 0;
  virtual const std::string& keychainAccessGroup() const = 0;
  virtual const std::string& containerAppBundleID() const = 0;
  virtual const std::string& keyboardExtensionBundleID() const = 0;
  virtual const std::string& lexiconiaURLScheme() const = 0;
  virtual const std::optional<std::string>& mobileSpellVersion() const = 0;
  virtual const std::string& googleClientID() const = 0;
  virtual const AdjustSettings& adjustSettings() const = 0;
  virtual const std::vector<InfoPlistSupportedDocumentType>& supportedDocumentTypes() const = 0;

  /// True for the keyboard of the App Store's build alone.
  bool isAppstoreVariation() const;

  /// The "User-Agent" of requests: "NAME/SHORTVERSION (BUNDLEID; build VERSION)".
  std::string preferredUserAgent() const;
};

/// The settings as they were read from a bundle.
class BundleDefaultSettings final : public BundleSettings {
 public:
  struct Values {
    std::string currentBundleID{};
    std::string currentBundleName{};
    std::string currentBundleVersion{};
    std::string currentBundleShortVersion{};
    std::string containerAppBundleID{};
    std::string keyboardExtensionBundleID{};
    std::string appGroup{};
    std::string keychainAccessGroup{};
    std::string lexiconiaURLScheme{};
    std::optional<std::string> mobileSpellVersion{};
    std::string googleClientID{};
    AdjustSettings adjustSettings{};
    std::vector<InfoPlistSupportedDocumentType> supportedDocumentTypes{};

    bool operator==(const Values&) const = default;
  };

  /// Reads every entry once. Errors: UnwrapError, which names the first required entry that is missing or of another
  /// type than it must have.
  static Result<BundleDefaultSettings> make(const Bundle& bundle);

  explicit BundleDefaultSettings(Values values) : values_(std::move(values)) {}

  const std::string& currentBundleID() const override { return values_.currentBundleID; }
  const std::string& currentBundleName() const override { return values_.currentBundleName; }
  const std::string& currentBundleVersion() const override { return values_.currentBundleVersion; }
  const std::string& currentBundleShortVersion() const override { return values_.currentBundleShortVersion; }
  const std::string& appGroup() const override { return values_.appGroup; }
  const std::string& keychainAccessGroup() const override { return values_.keychainAccessGroup; }
  const std::string& containerAppBundleID() const override { return values_.containerAppBundleID; }
  const std::string& keyboardExtensionBundleID() const override { return values_.keyboardExtensionBundleID; }
  const std::string& lexiconiaURLScheme() const override { return values_.lexiconiaURLScheme; }
  const std::optional<std::string>& mobileSpellVersion() const override { return values_.mobileSpellVersion; }
  const std::string& googleClientID() const override { return values_.googleClientID; }
  const AdjustSettings& adjustSettings() const override { return values_.adjustSettings; }
  const std::vector<InfoPlistSupportedDocumentType>& supportedDocumentTypes() const override {
    return values_.supportedDocumentTypes;
  }

  bool operator==(const BundleDefaultSettings& other) const { return values_ == other.values_; }

 private:
  Values values_;
};

}  // namespace lx
