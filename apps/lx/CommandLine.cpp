#include "lx/CommandLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string_view>

#include <CLI/CLI.hpp>

#include "LXServices/Environment/BackendEnvironmentFactory.h"

#include "lx/Commands.h"

namespace lx::tool {
namespace {

constexpr int wrongCommandLine = 2;
constexpr std::size_t longestName = 20;  // of an option that is repeated when it is unknown

constexpr const char* examples = R"(Examples:
  lx demo                                           the tour: everything at work against a backend of its own
  lx backend                                        a development backend, until Ctrl-C
  lx --connect-to 127.0.0.1:PORT --ca-file PEM anonymous
  lx signin --code CODE --verifier VERIFIER
  lx user --json
  lx environment --domains staging --surface macExtension
  lx environment authServiceURL

Global options may also stand after the command, and most can come from the environment: LX_GROUP, LX_BUNDLE,
LX_DOMAINS, LX_SURFACE, LX_CONNECT_TO, LX_CA_FILE. Other users can see the command line of a process. A SECRET can
therefore be - for the next line of standard input, @FILE for the contents of a file, or come from LX_CODE, LX_VERIFIER,
LX_LXAUTH, LX_GOOGLE_TOKEN, LX_APPLE_TOKEN.

Exit status: 0 done, 1 failed, 2 wrong command line.)";

template <class Presets>
std::string namesOf(const Presets& presets) {
  std::string names;
  for (const auto& [name, preset] : presets) names.append(names.empty() ? "" : ", ").append(name);
  return names;
}

BackendDomains domainsNamed(const std::string& text) {
  constexpr std::string_view dynamic = "dynamic:";
  if (text.starts_with(dynamic) && text.size() > dynamic.size()) {
    return BackendDomains::testing(std::string_view(text).substr(dynamic.size()));
  }
  for (const auto& [name, domains] : BackendDomains::presets()) {
    if (name == text) return domains;
  }
  throw CLI::ValidationError("--domains", "must be one of " + namesOf(BackendDomains::presets()) + ", dynamic:NAME");
}

std::string surfaceNamed(const std::string& text) {
  for (const auto& [name, factory] : BackendEnvironmentFactory::presets()) {
    if (name == text) return text;
  }
  throw CLI::ValidationError("--surface", "must be one of " + namesOf(BackendEnvironmentFactory::presets()));
}

// The value itself is never part of the message: it may be a secret.
const CLI::Validator notEmpty([](std::string& value) { return value.empty() ? "must not be empty" : std::string(); },
                              "", "notEmpty");

// Checks that repeat no value, either.
CLI::Validator inRange(std::int64_t least, std::int64_t most) {
  return CLI::Validator(
      [least, most](std::string& text) {
        std::int64_t value = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, value);
        if (isNumber && value >= least && value <= most) return std::string();
        return "must be a number from " + std::to_string(least) + " to " + std::to_string(most);
      },
      "", "inRange");
}

int levelNamed(const std::string& text) {
  constexpr std::array<std::string_view, 5> names{"debug", "info", "notice", "warning", "error"};
  for (std::size_t level = 0; level < names.size(); ++level) {
    if (text == names[level] || text == std::to_string(level)) return static_cast<int>(level);
  }
  throw CLI::ValidationError("--log", "must be 0 to 4, debug, info, notice, warning or error");
}

std::chrono::milliseconds timeoutOf(const std::string& text) {
  constexpr double longest = 1e6;
  double seconds = 0;
  const bool isNumber = CLI::detail::lexical_cast(text, seconds);
  if (!isNumber || !(seconds >= 0.001 && seconds <= longest)) {
    throw CLI::ValidationError("--timeout", "must be a number of seconds from 0.001 to 1000000");
  }
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

class Grammar {
 public:
  Grammar() : app_("The LXServices library at a prompt.", "lx") {
    app_.fallthrough();
    app_.require_subcommand(1);
    app_.set_version_flag("--version", LX_VERSION);
    app_.footer(examples);
    addGlobalOptions();
    addDemo();
    addBackend();
    addEnvironment();
    addPKCE();
    addSignIn();
    addToken();
    addUser();
    addRender();
  }

  CLI::App& app() { return app_; }
  Invocation takeInvocation() { return std::move(invocation_); }

 private:
  void addGlobalOptions() {
    auto& global = invocation_.global;
    auto* group = app_.add_option_group("Global options");
    group->add_option("--group", global.group, "The app group's folder [~/.local/share/lx]")
        ->envname("LX_GROUP")
        ->type_name("DIR")
        ->check(notEmpty);
    group->add_option("--bundle", global.bundleFile, "The bundle's information property list [built in]")
        ->envname("LX_BUNDLE")
        ->type_name("FILE");
    group
        ->add_option_function<std::string>(
            "--domains", [&global](const std::string& text) { global.domains = domainsNamed(text); },
            "The deployment: " + namesOf(BackendDomains::presets()) + ", dynamic:NAME [production]")
        ->envname("LX_DOMAINS")
        ->type_name("PRESET");
    group
        ->add_option_function<std::string>(
            "--surface", [&global](const std::string& text) { global.surface = surfaceNamed(text); },
            "The product's surface: " + namesOf(BackendEnvironmentFactory::presets()) + " [iOSApp]")
        ->envname("LX_SURFACE")
        ->type_name("PRESET");
    group->add_option("--connect-to", global.connectTo, "Where connections for any host go")
        ->envname("LX_CONNECT_TO")
        ->type_name("HOST:PORT");
    group->add_option("--ca-file", global.caFile, "The only certificate authorities to trust [the system's]")
        ->envname("LX_CA_FILE")
        ->type_name("PEM");
    group->add_flag("--json", global.json, "One JSON object, or one a line, instead of text for people");
    group
        ->add_option_function<std::string>(
            "--timeout", [&global](const std::string& text) { global.timeout = timeoutOf(text); },
            "The longest that one call may take, all attempts included [no bound]")
        ->type_name("SECONDS");
    group
        ->add_option_function<std::string>(
            "--log", [&global](const std::string& text) { global.logLevel = levelNamed(text); },
            "Log to standard error from this level: 0 to 4, or debug to error")
        ->type_name("LEVEL");
    group->add_flag("--reveal", global.reveal, "Show tokens instead of \"<redacted>\"");
  }

  CLI::App& add(CLI::App& parent, const std::string& name, const std::string& description) {
    return *parent.add_subcommand(name, description);
  }

  template <class Run>
  void onRun(CLI::App& command, Run run) {
    command.final_callback([this, run = std::move(run)] { invocation_.command = run; });
  }

  void addDemo() {
    onRun(
        add(app_, "demo", "The tour: a backend, a sign-in, several processes, a crash, a recovery; each step checked"),
        [](const GlobalOptions&, const Output& output) { return runDemo(output); });
  }

  void addBackend() {
    auto& command = add(app_, "backend", "Run the development backend until Ctrl-C");
    const auto options = std::make_shared<BackendCommandOptions>();
    command.add_option("--port", options->port, "The port to listen on [any that is free]")->check(inRange(0, 65'535));
    command.add_option("--scenario", options->scenarioFile, "Faults to play, a JSON file")->type_name("FILE");
    command.add_option("--ca-out", options->caOut, "Where to put the authority's certificate [a temporary file]")
        ->type_name("FILE");
    command.add_option("--token-lifetime", options->tokenLifetime, "Seconds that access tokens live [3600]")
        ->check(inRange(-1'000'000'000, 1'000'000'000));
    command
        .add_option("--refresh-grace", options->refreshGrace, "Milliseconds that a used refresh token is good for [0]")
        ->check(inRange(0, 1'000'000'000));
    command.add_flag("--quiet", options->quiet, "No line for each request");
    command.footer(
        "Example:\n  lx backend --port 8443 --token-lifetime 90\n  lx backend --scenario faults.json --json\n\n"
        "A scenario: {\"routes\": {\"POST /v3/logout\": [{\"fault\": \"status\", \"status\": 503}]}}");
    onRun(command, [options](const GlobalOptions&, const Output& output) { return runBackend(output, *options); });
  }

  void addEnvironment() {
    auto& environment = add(app_, "environment", "Every address and identity of the backend environment");
    const auto property = std::make_shared<std::string>();
    environment.add_option("property", *property, "Only this property");
    environment.footer("Examples:\n  lx environment --domains dynamic:feature-7\n  lx environment authServiceURL");
    onRun(environment, [property](const GlobalOptions& global, const Output& output) {
      return runEnvironment(global, output, *property);
    });

    auto& bundle = add(app_, "bundle", "The settings of a bundle, or which entry it lacks");
    const auto file = std::make_shared<std::string>();
    bundle.add_option("file", *file, "An information property list")->required()->type_name("FILE.plist");
    onRun(bundle, [file](const GlobalOptions&, const Output& output) { return runBundle(output, *file); });
  }

  void addPKCE() {
    auto& pkce = add(app_, "pkce", "The secrets of an authorization request (RFC 7636)");
    pkce.require_subcommand(1);
    auto& verifier = add(pkce, "verifier", "A random code verifier");
    const auto length = std::make_shared<int>(64);
    verifier.add_option("--length", *length, "How many characters [64]")->check(inRange(1, 65'536));
    onRun(verifier, [length](const GlobalOptions&, const Output& output) { return runPKCEVerifier(output, *length); });

    auto& challenge = add(pkce, "challenge", "The S256 challenge of a verifier");
    const auto text = std::make_shared<std::string>();
    challenge.add_option("verifier", *text, "The code verifier")
        ->required()
        ->envname("LX_VERIFIER")
        ->type_name("SECRET")
        ->check(notEmpty);
    onRun(challenge, [text](const GlobalOptions&, const Output& output) { return runPKCEChallenge(output, *text); });
  }

  void addSignIn() {
    auto& command = add(app_, "signin", "Sign in; stores credentials, device and user");
    const auto options = std::make_shared<SignInOptions>();
    auto* ways = command.add_option_group("Ways", "One of");
    auto* code = ways->add_option("--code", options->code, "An authorization code")->envname("LX_CODE");
    auto* google = ways->add_option("--google", options->google, "Google's token")->envname("LX_GOOGLE_TOKEN");
    auto* apple = ways->add_option("--apple", options->apple, "Apple's code")->envname("LX_APPLE_TOKEN");
    for (auto* way : {code, google, apple}) way->check(notEmpty)->type_name("SECRET");
    ways->require_option(1);
    auto* verifier = command.add_option("--verifier", options->verifier, "The code's verifier");
    verifier->envname("LX_VERIFIER")->type_name("SECRET")->check(notEmpty);
    code->needs(verifier);
    command.add_option("--name", options->name, "The user's name, for Google and Apple")->excludes(code);
    command.add_option("--email", options->email, "The user's address, for Google and Apple")->excludes(code);
    command.footer(
        "Examples:\n  lx signin --code - --verifier @verifier.txt\n  lx signin --google @token.txt --email "
        "me@example.com");
    onRun(command,
          [options](const GlobalOptions& global, const Output& output) { return runSignIn(global, output, *options); });

    onRun(add(app_, "anonymous", "Get and store credentials for who is not signed in"), runAnonymous);

    auto& migrate = add(app_, "migrate", "Exchange the stored, or the given, cookie-era session for credentials");
    const auto lxauth = std::make_shared<std::string>();
    migrate.add_option("--lxauth", *lxauth, "The cookie-era token [the stored one]")
        ->envname("LX_LXAUTH")
        ->type_name("SECRET")
        ->check(notEmpty);
    onRun(migrate,
          [lxauth](const GlobalOptions& global, const Output& output) { return runMigrate(global, output, *lxauth); });
  }

  void addToken() {
    auto& token = add(app_, "token", "The group's credentials");
    token.require_subcommand(1);
    onRun(add(token, "show", "What is stored"), runTokenShow);
    onRun(add(token, "refresh", "Refresh, whatever the expiry"), runTokenRefresh);
    onRun(add(token, "revoke", "Revoke the refresh token at the backend; the store stays as it is"), runTokenRevoke);
    auto& get = add(token, "get", "Valid credentials for callers that want them at once, refreshed when needed");
    const auto callers = std::make_shared<int>(1);
    get.add_option("--callers", *callers, "How many callers [1]")->check(inRange(1, 100'000));
    onRun(get, [callers](const GlobalOptions& global, const Output& output) {
      return runTokenGet(global, output, *callers);
    });
  }

  void addUser() {
    auto& user = add(app_, "user", "The signed-in user");
    const auto options = std::make_shared<UserOptions>();
    auto* version3 = user.add_flag("--v3", options->version3, "From the version 3 endpoint");
    user.add_flag_function(
            "--v4", [](std::int64_t) {}, "From the version 4 endpoint (the default)")
        ->excludes(version3);
    user.add_flag("--role", options->role, "With the role field")->needs(version3);
    onRun(user,
          [options](const GlobalOptions& global, const Output& output) { return runUser(global, output, *options); });

    auto& logout = add(app_, "logout", "Sign out at the backend, revoke, and empty the group's store");
    const auto localOnly = std::make_shared<bool>(false);
    logout.add_flag("--local", *localOnly, "Only empty the store; the backend is not asked");
    onRun(logout, [localOnly](const GlobalOptions& global, const Output& output) {
      return runLogout(global, output, *localOnly);
    });
  }

  void addRender() {
    auto& render = add(app_, "render", "The lines and lists of a Delta document");
    const auto options = std::make_shared<RenderOptions>();
    render.add_option("file", options->file, "A Delta document in JSON, - for standard input")
        ->required()
        ->type_name("FILE");
    render.add_flag("--html", options->html, "As a page of its own");
    render.footer(
        "Examples:\n  lx render notes.json\n  lx render --html notes.json > notes.html\n  lx render --json -");
    onRun(render, [options](const GlobalOptions&, const Output& output) { return runRender(output, *options); });
  }

  CLI::App app_;
  Invocation invocation_;
};

/// What the command line got wrong.
struct CommandLineError {
  std::string message;

  std::string typeName() const { return "CommandLineError"; }
  std::string description() const { return message; }
};

/// The parser's own words, unless they would repeat an argument that nobody expected: it may be a misplaced secret.
std::string messageFor(const CLI::ParseError& error, const CLI::App& app) {
  const auto extras = app.remaining(true);
  const bool hasCommand = !app.get_subcommands().empty();
  if (extras.empty())
    return hasCommand || !dynamic_cast<const CLI::RequiredError*>(&error) ? error.what() : "Which command?";
  const auto& first = extras.front();
  if (first.starts_with("--")) {
    const auto name = first.substr(0, first.find('='));
    const bool isName = name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
    return isName && name.size() <= longestName ? "Unknown option " + name : "Unknown option";
  }
  if (first.starts_with("-")) return "Unknown option";
  return hasCommand ? "There are more arguments than the command takes" : "Unknown command " + printable(first);
}

}  // namespace

std::expected<Invocation, int> parseCommandLine(int argc, const char* const* argv) {
  Grammar grammar;
  try {
    grammar.app().parse(argc, argv);
    return grammar.takeInvocation();
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return std::unexpected(grammar.app().exit(error));
    const bool json = std::any_of(argv, argv + argc, [](std::string_view word) { return word == "--json"; });
    Output(json, false).failure(CommandLineError{messageFor(error, grammar.app())}, "`lx --help` tells what there is.");
    return std::unexpected(wrongCommandLine);
  }
}

}  // namespace lx::tool
