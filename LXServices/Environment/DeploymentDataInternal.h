#pragma once

#include <string_view>

/// All that depends on how and where the backend is deployed: domains, host labels, fixed addresses, slugs.
namespace lx::deployment {

// Domains
inline constexpr std::string_view productionCom = "lexiconia.com";
inline constexpr std::string_view productionIO = "lexiconia.io";
inline constexpr std::string_view preproduction = "preprod.lexiconia.com";
inline constexpr std::string_view qa = "qa.lexiconia.com";
inline constexpr std::string_view mockCom = "lexiconia-com.test";
inline constexpr std::string_view mockIO = "lexiconia-io.test";

// Labels of the hosts under the .com domain
inline constexpr std::string_view web = "www";
inline constexpr std::string_view webEditor = "app";
inline constexpr std::string_view iOSEditor = "ios-editor";
inline constexpr std::string_view auth = "auth";
inline constexpr std::string_view account = "account";
inline constexpr std::string_view redirect = "redirect";
inline constexpr std::string_view support = "support";
inline constexpr std::string_view corva = "corva";
inline constexpr std::string_view corvaLocal = "corva-local";
inline constexpr std::string_view corvaDynamic = "corva-dynamic";
inline constexpr std::string_view properties = "properties";
inline constexpr std::string_view dox = "dox";
inline constexpr std::string_view assets = "assets";
inline constexpr std::string_view msync = "msync";
inline constexpr std::string_view ambertrail = "ambertrail";
inline constexpr std::string_view treatment = "treatment";
inline constexpr std::string_view gates = "gates";
inline constexpr std::string_view thrub = "thrub";
inline constexpr std::string_view originIOS = "ios";
inline constexpr std::string_view originMacExtension = "mac-extension";

// Labels of the hosts under the .io domain
inline constexpr std::string_view sabletIOS = "sablet-ios";
inline constexpr std::string_view sabletIOSRetail = "sablet-ios-retail";
inline constexpr std::string_view sabletMacExtension = "sablet-mac-extension";
inline constexpr std::string_view quorrel = "quorrel";
inline constexpr std::string_view quorrelClientIOS = "ios";
inline constexpr std::string_view quorrelClientMacExtension = "mac-extension";

// Editors at fixed addresses. The editors tell "/ddocs" from "/ddocs/".
inline constexpr std::string_view editorIOSBeta = "https://ios-editor-beta.lexiconia.com/ddocs/";
inline constexpr std::string_view editorScratchPad = "https://editor-scratchpad.lexiconia.com/ddocs/";
inline constexpr std::string_view editorMaster = "https://editor-master.lexiconia.com/ddocs";
inline constexpr std::string_view editorLocalIOS = "https://editor-local.lexiconia.com/ddocs";
inline constexpr std::string_view editorLocalMac = "https://editor-local.lexiconia.com/ddocs/";

// Help centre
inline constexpr std::string_view helpSectionIOS = "360001000001-Lexiconia-for-iOS";
inline constexpr std::string_view helpTopicDesktop = "lexiconia-for-desktop";
inline constexpr std::string_view helpArticleConnectionError = "360001000002-Connection-error";
inline constexpr std::string_view helpArticlePermissions = "360001000003";

// App Store
inline constexpr std::string_view appStoreReviewHost = "itunes.apple.com";
inline constexpr std::string_view appStorePageHost = "apps.apple.com";
inline constexpr std::string_view appStoreID = "9999999999";

}  // namespace lx::deployment
