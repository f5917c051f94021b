#include <gmock/gmock.h>

#include "LXServices/BundleSettings.h"

#include "support/Examples.h"

namespace lx {
namespace {

using testing::IsEmpty;

constexpr std::string_view documentType =
    "<dict>"
    "<key>CFBundleTypeExtensions</key><array><string>txt</string><string>md</string></array>"
    "<key>CFBundleTypeIconFile</key><string>icon</string>"
    "<key>CFBundleTypeIconFiles</key><array><string>icon-1</string></array>"
    "<key>CFBundleTypeName</key><string>Text</string>"
    "<key>CFBundleTypeRole</key><string>Editor</string>"
    "<key>LSHandlerRank</key><string>Alternate</string>"
    "<key>LSItemContentTypes</key><array><string>public.plain-text</string></array>"
    "</dict>";

/// A list that has every entry, in the order in which they are read.
std::string validList() {
  return "<plist version=\"1.0\"><dict>"
         "<key>Lexiconia</key><dict>"
         "<key>lx-app-group</key><string>group</string>"
         "<key>lx-keychain-access-group</key><string>keychain</string>"
         "<key>lx-host-bundle-id</key><string>container</string>"
         "<key>lx-kb-extension-bundle-id</key><string>extension</string>"
         "<key>lx-lexiconia-url-scheme</key><string>myapp</string>"
         "<key>lx-mobile-spell-version</key><string>7</string>"
         "<key>lx-google-client-id</key><string>google</string>"
         "</dict>"
         "<key>Adjust</key><dict><key>AppToken</key><string>token</string></dict>"
         "<key>CFBundleIdentifier</key><string>com.lexiconia.keyboard</string>"
         "<key>CFBundleName</key><string>Lexiconia</string>"
         "<key>CFBundleVersion</key><string>42</string>"
         "<key>CFBundleShortVersionString</key><string>1.2</string>"
         "<key>CFBundleDocumentTypes</key><array>" +
         std::string(documentType) + "</array></dict></plist>";
}

std::string withoutKey(const std::string& text, std::string_view key) {
  return replacing(text, "<key>" + std::string(key) + "</key>", "<key>other</key>");
}

/// The list with a number under the key in place of what stands there.
std::string withNumber(const std::string& text, std::string_view key) {
  const auto begin = text.find("<key>" + std::string(key) + "</key>") + key.size() + 11;
  const auto element = text.substr(begin + 1, text.find('>', begin) - begin - 1);
  const auto end = text.find("</" + element + ">", begin) + element.size() + 3;
  return text.substr(0, begin) + "<integer>7</integer>" + text.substr(end);
}

Result<BundleDefaultSettings> read(std::string_view list) {
  const auto information = PropertyList::parse(dataOf(list));
  EXPECT_TRUE(information) << list;
  return BundleDefaultSettings::make(Bundle(information.value()));
}

BundleDefaultSettings::Values validValues() {
  return {.currentBundleID = "com.lexiconia.keyboard",
          .currentBundleName = "Lexiconia",
          .currentBundleVersion = "42",
          .currentBundleShortVersion = "1.2",
          .containerAppBundleID = "container",
          .keyboardExtensionBundleID = "extension",
          .appGroup = "group",
          .keychainAccessGroup = "keychain",
          .lexiconiaURLScheme = "myapp",
          .mobileSpellVersion = "7",
          .googleClientID = "google",
          .adjustSettings = {"token"},
          .supportedDocumentTypes = {
              {{"txt", "md"}, "icon", {{"icon-1"}}, "Text", "Editor", "Alternate", {"public.plain-text"}}}};
}

TEST(BundleSettings, EveryEntryIsRead) {
  const auto settings = read(validList());
  ASSERT_TRUE(settings);
  EXPECT_EQ(*settings, BundleDefaultSettings(validValues()));
  EXPECT_EQ(settings->preferredUserAgent(), "Lexiconia/1.2 (com.lexiconia.keyboard; build 42)");
  EXPECT_TRUE(settings->isAppstoreVariation());
  auto values = validValues();
  values.currentBundleID += ".beta";
  EXPECT_FALSE(BundleDefaultSettings(values).isAppstoreVariation());
  EXPECT_EQ(
      encodeJSONText(values.supportedDocumentTypes.at(0)).value(),
      R"({"documentExtensions":["txt","md"],"iconFileName":"icon","iconFiles":["icon-1"],"bundleTypeName":"Text",)"
      R"("bundleTypeRole":"Editor","handlerRank":"Alternate","itemContentTypes":["public.plain-text"]})");
}

TEST(BundleSettings, TheFirstMissingEntryInReadingOrderIsNamed) {
  // In reading order: with all entries up to a row restored, the row's own is the first that is missing.
  const char* const rows[] = {"Lexiconia -> Missing lexiconiaSettings",
                              "Adjust -> Missing adjustInfo",
                              "AppToken -> Missing AppToken",
                              "CFBundleIdentifier -> Missing currentBundleID",
                              "CFBundleName -> Missing currentBundleName",
                              "CFBundleVersion -> Missing currentBundleVersion",
                              "CFBundleShortVersionString -> Missing currentBundleShortVersion",
                              "lx-app-group -> Missing appGroup",
                              "lx-keychain-access-group -> Missing keychainAccessGroup",
                              "lx-host-bundle-id -> Missing containerAppBundleID",
                              "lx-kb-extension-bundle-id -> Missing keyboardExtensionBundleID",
                              "lx-lexiconia-url-scheme -> Missing lexiconiaURLScheme",
                              "lx-google-client-id -> Missing googleClientID",
                              "CFBundleTypeExtensions -> Missing CFBundleTypeExtensions",
                              "CFBundleTypeName -> Missing CFBundleTypeName",
                              "CFBundleTypeRole -> Missing CFBundleTypeRole",
                              "LSHandlerRank -> Missing LSHandlerRank",
                              "LSItemContentTypes -> Missing LSItemContentTypes"};
  std::string allLaterMissing = validList();
  for (auto row = std::rbegin(rows); row != std::rend(rows); ++row) {
    const auto [key, message] = halves(*row);
    allLaterMissing = withoutKey(allLaterMissing, key);
    for (const auto& list : {withNumber(validList(), key), allLaterMissing}) {
      const auto settings = read(list);
      ASSERT_FALSE(settings) << key;
      EXPECT_TRUE(settings.error().is(UnwrapError{std::string(message)})) << settings.error().description();
    }
  }
  EXPECT_TRUE(read("<plist><array/></plist>").error().is(UnwrapError{"Missing infoDictionary"}));
}

TEST(BundleSettings, OptionalEntriesMayBeAbsentOrOfAnotherType) {
  for (const auto& list :
       {withoutKey(validList(), "lx-mobile-spell-version"), withNumber(validList(), "lx-mobile-spell-version")}) {
    EXPECT_EQ(read(list).value().mobileSpellVersion(), std::nullopt);
  }
  const auto scalar = replacing(validList(), "<array>" + std::string(documentType) + "</array>", "<string/>");
  for (const auto& list : {withoutKey(validList(), "CFBundleDocumentTypes"), scalar}) {
    EXPECT_THAT(read(list).value().supportedDocumentTypes(), IsEmpty());
  }
  auto icons = withNumber(validList(), "CFBundleTypeIconFile");
  icons = replacing(icons, "<string>icon-1</string>", "<true/>");
  const auto type = read(icons).value().supportedDocumentTypes().at(0);
  EXPECT_EQ(type.iconFileName, std::nullopt);
  EXPECT_EQ(type.iconFiles, std::nullopt);
}

}  // namespace
}  // namespace lx
