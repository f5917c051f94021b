#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lx/ToolRun.h"

namespace lx {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

TEST(CommandLine, WrongOnesExitWithTwoAndRepeatNoArgumentThatMayBeASecret) {
  const std::pair<Arguments, const char*> table[] = {
      {{}, "Which command?"},
      {{"sigin"}, "Unknown command sigin"},
      {{"token"}, "A subcommand is required"},
      {{"environment", "--domains", "prodction"}, "--domains: must be one of production, staging"},
      {{"environment", "--surface", "toaster"}, "--surface: must be one of iOSKeyboard"},
      {{"signin", "--code", "s3cret", "--google", "s3cret", "--verifier", "s3cret"}, "--code,--google,--apple"},
      {{"signin", "--code", "s3cret"}, "--code requires --verifier"},
      {{"signin", "--google", ""}, "must not be empty"},
      {{"signin", "--gogle=s3cret"}, "Unknown option --gogle"},
      {{"pkce", "challenge", "verifier", "s3cret"}, "more arguments"},
      {{"pkce", "challenge", "--S3cret-s3cret"}, "Unknown option"},
      {{"user", "--v4", "--v3"}, "excludes"},
      {{"bundle"}, "file is required"},
      {{"user", "--timeout", "s3cret"}, "--timeout: must be a number of seconds"},
      {{"user", "--timeout", "nan"}, "--timeout: must be a number of seconds"},
      {{"user", "--log", "s3cret"}, "--log: must be 0 to 4"},
      {{"backend", "--port", "s3cret"}, "--port: must be a number from 0 to 65535"},
      {{"pkce", "verifier", "--length", "s3cret"}, "--length: must be a number from 1"},
  };
  for (const auto& [arguments, message] : table) {
    const auto run = runTool(arguments);
    EXPECT_EQ(run.status, 2) << message;
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, AllOf(StartsWith("lx: "), HasSubstr(message), Not(HasSubstr("s3cret"))));
  }
  EXPECT_EQ(runTool({"--json", "sigin"}).err,
            "{\"error\":{\"type\":\"CommandLineError\",\"code\":null,\"message\":\"Unknown command sigin\"}}\n");
  EXPECT_EQ(runTool({"signin", "--help"}).status, 0);
}

TEST(CommandLine, GlobalOptionsStandAnywhereAndComeFromTheEnvironment) {
  const std::string staged = "https://auth.preprod.lexiconia.com\n";
  EXPECT_EQ(runTool({"--domains", "staging", "environment", "authServiceURL"}).out, staged);
  EXPECT_EQ(runTool({"environment", "authServiceURL", "--domains", "staging"}).out, staged);
  EXPECT_EQ(runTool({"environment", "authServiceURL"}, {"LX_DOMAINS=staging"}).out, staged);
  EXPECT_THAT(runTool({"environment"}).out, MatchesRegex("metricsURL +https://.*\ndomainCom +lexiconia.com\n"));
  EXPECT_EQ(runTool({"environment", "corvaWSsURL", "--domains", "dynamic:blue", "--json"}).out.substr(0, 44),
            R"({"corvaWSsURL":"wss://blue.corva-dynamic.qa.)");
}

TEST(CommandLine, PKCEValuesStandAlone) {
  // RFC 7636, appendix B.
  const std::string verifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
  const std::string challenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM\n";
  EXPECT_EQ(runTool({"pkce", "challenge", verifier}).out, challenge);
  EXPECT_EQ(runTool({"pkce", "challenge"}, {"LX_VERIFIER=" + verifier}).out, challenge);
  EXPECT_THAT(runTool({"pkce", "verifier", "--length", "5", "--json"}).out,
              MatchesRegex("\\{\"codeVerifier\":\"[-._~A-Za-z0-9]{5}\"}\n"));
  EXPECT_EQ(runTool({"pkce", "challenge", "\xc3\xa9"}).status, 1);
}

std::string propertyList(const std::string& product) {
  return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
         "<key>CFBundleIdentifier</key><string>com.example.app</string><key>CFBundleName</key><string>App</string>"
         "<key>CFBundleVersion</key><string>7</string><key>CFBundleShortVersionString</key><string>1.2</string>"
         "<key>Adjust</key><dict><key>AppToken</key><string>adjust</string></dict><key>Lexiconia</key><dict>"
         "<key>lx-keychain-access-group</key><string>chain</string><key>lx-host-bundle-id</key><string>host</string>"
         "<key>lx-kb-extension-bundle-id</key><string>keys</string><key>lx-lexiconia-url-scheme</key>"
         "<string>lexiconia</string><key>lx-google-client-id</key><string>google</string>" +
         product + "</dict></dict></plist>";
}

TEST(CommandLine, BundleTellsItsSettingsOrTheEntryThatIsMissing) {
  const TemporaryFolder folder;
  const auto file = folder.file("Info.plist");
  std::ofstream(file) << propertyList("<key>lx-app-group</key><string>group</string>");
  EXPECT_EQ(runTool({"bundle", file, "--json"}).out,
            R"({"currentBundleID":"com.example.app","currentBundleName":"App","currentBundleVersion":"7",)"
            R"("currentBundleShortVersion":"1.2","appGroup":"group","keychainAccessGroup":"chain",)"
            R"("containerAppBundleID":"host","keyboardExtensionBundleID":"keys","lexiconiaURLScheme":"lexiconia",)"
            R"("googleClientID":"google","adjustSettings":{"appToken":"adjust"},"supportedDocumentTypes":[]})"
            "\n");
  std::ofstream(file) << propertyList("");
  const auto run = runTool({"--json", "bundle", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "{\"error\":{\"type\":\"Optional.Error\",\"code\":null,\"message\":\"Missing appGroup\"}}\n");
}

}  // namespace
}  // namespace lx
