#include <csignal>
#include <string>

#include "LXTesting/DevBackend.h"
#include "LXUtils/System/FileManager.h"

#include "lx/Commands.h"

namespace lx::tool {
namespace {

volatile std::sig_atomic_t stopRequested = 0;

void stopOnSignals() {
  struct sigaction action{};
  action.sa_handler = [](int) { stopRequested = 1; };
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

/// How long a line waits for the status of its request before it is told without.
constexpr std::chrono::milliseconds longestWaitForStatus{2'000};
constexpr std::chrono::milliseconds lookInterval{100};
constexpr std::size_t largestScenario = std::size_t{4} << 20;

/// Every host that the library's own deployments have.
std::vector<std::string> hostNames() {
  std::vector<std::string> names;
  for (const auto& [name, domains] : BackendDomains::presets()) {
    for (const auto& domain : {domains.comDomain, domains.ioDomain}) {
      names.push_back(domain);
      names.push_back("*." + domain);
    }
  }
  return names;
}

Result<DevBackendOptions> backendOptions(const BackendCommandOptions& options) {
  DevBackendOptions result{.port = options.port,
                           .hostNames = hostNames(),
                           .caFile = options.caOut,
                           .tokenLifetime = options.tokenLifetime,
                           .refreshGrace = std::chrono::milliseconds(options.refreshGrace)};
  if (options.scenarioFile.empty()) return result;
  const auto file = readFile(options.scenarioFile, largestScenario);
  if (!file) return fail(file.error());
  auto scenario = Scenario::parse(textView(*file));
  if (!scenario) return fail(scenario.error());
  result.scenario = *std::move(scenario);
  return result;
}

std::string introduction(const DevBackend& backend, const Style& style) {
  std::string users;
  for (const auto& user : backend.users()) users.append(users.empty() ? "" : ", ").append(user.key);
  return "The development backend is up at " + style.bold(backend.address()) + ", with users " + users +
         ".\n\nFor other terminals:\n\n  export LX_CONNECT_TO=" + backend.address() +
         "\n  export LX_CA_FILE=" + backend.caFile() +
         "\n\nand then, for example:\n\n  lx migrate --lxauth lxauth-ordinary\n  lx user\n\n" +
         style.dim("Requests follow; Ctrl-C ends it.") + "\n";
}

/// One line of the journal for people: when, what, how it ended.
std::string line(const JournalEntry& entry, const Style& style) {
  auto time = std::to_string(entry.time.count());
  if (time.size() < 8) time.insert(0, 8 - time.size(), ' ');
  std::string text = style.dim(time + " ms") + "  ";
  text += entry.status == 0    ? style.red("---")
          : entry.status < 400 ? style.green(std::to_string(entry.status))
                               : style.red(std::to_string(entry.status));
  text += "  " + entry.method + " " + printable(entry.host + entry.path);
  if (entry.grant) text += "  " + style.cyan(printable(*entry.grant));
  if (entry.processID) text += "  process " + printable(*entry.processID);
  if (entry.fault) text += "  " + style.red("fault: " + *entry.fault);
  return text;
}

Result<void> tell(const Output& output, const JournalEntry& entry) {
  return output.event(
      [&](ObjectWriter& out) {
        out.text("event", "request");
        out.integer("sequence", entry.sequence);
        out.integer("time", entry.time.count());
        out.text("method", entry.method);
        out.text("host", entry.host);
        out.text("path", entry.path);
        if (entry.grant) out.text("grant", *entry.grant);
        if (entry.processID) out.text("processID", *entry.processID);
        if (entry.fault) out.text("fault", *entry.fault);
        if (entry.status != 0) out.integer("status", entry.status);
      },
      line(entry, output.style()));
}

/// Tells the requests in the order of their arrival, each once its answer's status is known.
Result<void> follow(const Output& output, const Journal& journal) {
  const auto clock = Clock::system();
  const auto start = clock->steadyNow();
  std::int64_t told = 0;
  while (!stopRequested) {
    journal.waitForRequests(journal.count() + 1, {}, lookInterval);
    const auto age = clock->steadyNow() - start;
    for (const auto& entry : journal.entriesAfter(told)) {
      if (entry.status == 0 && age - entry.time < longestWaitForStatus) break;
      if (const auto written = tell(output, entry); !written) return written;
      told = entry.sequence;
    }
  }
  return {};
}

}  // namespace

Result<void> runBackend(const Output& output, const BackendCommandOptions& options) {
  stopOnSignals();
  auto prepared = backendOptions(options);
  if (!prepared) return fail(prepared.error());
  const auto backend = DevBackend::start(*std::move(prepared));
  if (!backend) return fail(backend.error());
  const auto started = output.event(
      [&](ObjectWriter& out) {
        out.text("event", "started");
        out.text("address", (*backend)->address());
        out.text("caFile", (*backend)->caFile());
      },
      introduction(**backend, output.style()));
  if (!started) return started;
  if (options.quiet) {
    while (!stopRequested) (*backend)->journal().waitForRequests(SIZE_MAX, {}, lookInterval);
  } else if (const auto followed = follow(output, (*backend)->journal()); !followed) {
    return followed;
  }
  return output.event([](ObjectWriter& out) { out.text("event", "stopped"); }, "The backend has ended.");
}

}  // namespace lx::tool
