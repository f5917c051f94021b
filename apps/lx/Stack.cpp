#include "lx/Stack.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include <unistd.h>

#include "LXUtils/Foundation/FileURL.h"
#include "LXUtils/Network/CurlURLSession.h"

#include "lx/HoldingStorage.h"
#include "lx/SignalHold.h"
#include "lx/ToolError.h"

namespace lx::tool {
namespace {

class ToolAppService final : public AppService {
 public:
  explicit ToolAppService(BundleDefaultSettings settings) : settings_(std::move(settings)) {}

  std::string clientVersion() const override { return settings_.currentBundleShortVersion(); }
  std::string containerID() const override { return settings_.appGroup(); }
  const BundleSettings& bundleSettings() const override { return settings_; }

 private:
  const BundleDefaultSettings settings_;
};

Result<std::string> defaultGroupFolder() {
  const auto folderOf = [](const char* variable) -> std::string {
    const char* text = std::getenv(variable);
    return text && *text == '/' ? text : "";
  };
  if (const auto data = folderOf("XDG_DATA_HOME"); !data.empty()) return data + "/lx";
  if (const auto home = folderOf("HOME"); !home.empty()) return home + "/.local/share/lx";
  return fail(
      ToolError{ToolError::Kind::noHome, "There is no folder for the group: neither XDG_DATA_HOME nor HOME is set"});
}

}  // namespace

Result<std::shared_ptr<BackendDefaultEnvironment>> makeEnvironment(const GlobalOptions& options) {
  for (const auto& [name, factory] : BackendEnvironmentFactory::presets()) {
    if (name != options.surface) continue;
    auto environment = BackendDefaultEnvironment::make(options.domains, factory);
    if (!environment) return fail(environment.error());
    return std::make_shared<BackendDefaultEnvironment>(*std::move(environment));
  }
  return fail(UnwrapError{"Unknown surface"});
}

Result<BundleDefaultSettings> makeBundleSettings(const std::optional<std::string>& bundleFile) {
  if (bundleFile) {
    const auto bundle = Bundle::fromFile(*bundleFile);
    if (!bundle) return fail(bundle.error());
    return BundleDefaultSettings::make(*bundle);
  }
  return BundleDefaultSettings({.currentBundleID = "com.lexiconia.lx",
                                .currentBundleName = "lx",
                                .currentBundleVersion = "1",
                                .currentBundleShortVersion = LX_VERSION,
                                .containerAppBundleID = "com.lexiconia.lx",
                                .keyboardExtensionBundleID = "com.lexiconia.lx.keyboard",
                                .appGroup = "group.com.lexiconia.lx",
                                .keychainAccessGroup = "com.lexiconia.lx.shared",
                                .lexiconiaURLScheme = "lexiconia",
                                .googleClientID = "lx",
                                .adjustSettings = {"none"}});
}

Result<std::string> makeGroupFolder(const GlobalOptions& options) {
  auto folder = options.group ? Result<std::string>(*options.group) : defaultGroupFolder();
  if (!folder) return folder;
  std::error_code error;
  auto path = std::filesystem::absolute(*folder, error).lexically_normal();
  if (!path.has_filename()) path = path.parent_path();
  if (!error) std::filesystem::create_directories(path.parent_path(), error);
  if (error) {
    return fail(ToolError{ToolError::Kind::group, "The group's folder cannot be made: " + error.message()});
  }
  return path.string();
}

Result<std::unique_ptr<Stack>> Stack::make(const GlobalOptions& options) {
  auto environment = makeEnvironment(options);
  if (!environment) return fail(environment.error());
  auto settings = makeBundleSettings(options.bundleFile);
  if (!settings) return fail(settings.error());
  const auto group = makeGroupFolder(options);
  if (!group) return fail(group.error());
  auto store = FileCredentialsStorage::make(*group);
  if (!store) return fail(store.error());
  const auto lockFile = fileURL(*group + "/token-refresh.lock");
  if (!lockFile) return fail(lockFile.error());

  std::unique_ptr<Stack> stack(new Stack);
  stack->tellsPeople_ = !options.json && !options.logLevel && isatty(STDERR_FILENO);
  stack->environment_ = *environment;
  stack->store_ = *store;
  URLSessionConfiguration configuration;
  configuration.caFile = options.caFile;
  configuration.connectTo = options.connectTo;
  configuration.callTimeout = options.timeout;
  configuration.userAgent = settings->preferredUserAgent();
  const auto session = CurlURLSession::make(std::move(configuration));
  if (!session) return fail(session.error());
  stack->session_ = *session;
  stack->networking_ = std::make_unique<OAuth2NetworkingBuilderImpl>(
      std::make_shared<ToolAppService>(*std::move(settings)), *environment, std::nullopt, stack->session_,
      std::make_shared<HoldingStorage>(*store), *lockFile);
  stack->credentialsService().setDelegate(stack->logoutRequest_);
  return stack;
}

Stack::~Stack() {
  try {
    SignalHold::waitForAll();
  } catch (const std::exception&) {
    std::fputs("lx: New credentials that were on their way may be lost\n", stderr);
  }
}

Timer Stack::noticeAfterASecond() const {
  if (!tellsPeople_) return {};
  return Clock::system()->after(std::chrono::seconds(1), MainQueue::shared(),
                                [] { std::fputs("lx: still waiting for the backend ...\n", stderr); });
}

}  // namespace lx::tool
