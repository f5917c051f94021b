#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Error.h"

#include "lx/Commands.h"
#include "lx/Stack.h"
#include "lx/ToolError.h"

namespace lx::tool {
namespace {

Result<OAuth2Credentials> storedCredentials(Stack& stack) {
  const auto stored = stack.store().loadOAuth2Credentials();
  if (!stored) return fail(stored.error());
  if (!*stored) return fail(OAuth2Error::credentialsNotFound());
  return **stored;
}

Result<void> show(const Output& output, const OAuth2Credentials& credentials) {
  return output.object([&](ObjectWriter& out) { out.members(credentials); });
}

Result<void> tellOutcome(const Output& output, int caller, const Result<OAuth2Credentials>& outcome) {
  const std::string whom = "caller " + std::to_string(caller) + "  ";
  return output.event(
      [&](ObjectWriter& out) {
        out.integer("caller", caller);
        if (outcome) {
          out.object("credentials", [&](ObjectWriter& inner) { inner.members(*outcome); });
        } else {
          out.object("error", [&](ObjectWriter& inner) { inner.members(outcome.error()); });
        }
      },
      whom + (outcome ? output.style().green("✓") + " until " + rfc3339(outcome->expirationDate)
                      : output.style().red("✗") + " " + printable(outcome.error().description())));
}

}  // namespace

Result<void> runTokenShow(const GlobalOptions& global, const Output& output) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  const auto credentials = storedCredentials(**stack);
  if (!credentials) return fail(credentials.error());
  return show(output, *credentials);
}

Result<void> runTokenGet(const GlobalOptions& global, const Output& output, int callers) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  std::vector<Task<OAuth2Credentials>> tasks;
  for (int caller = 0; caller < callers; ++caller) {
    Promise<OAuth2Credentials> promise;
    tasks.push_back(promise.task());
    (*stack)->credentialsService().getOAuth2Credentials(std::move(promise).completion());
  }
  std::optional<Error> firstError;
  for (int caller = 0; caller < callers; ++caller) {
    const auto outcome = (*stack)->await(tasks[static_cast<std::size_t>(caller)]);
    if (!outcome && !firstError) firstError = outcome.error();
    if (const auto told = tellOutcome(output, caller + 1, outcome); !told) return told;
  }
  if ((*stack)->logoutRequest().requested()) {
    const auto told = output.event([](ObjectWriter& out) { out.text("event", "logoutRequested"); },
                                   "The library asks to sign the user out.");
    if (!told) return told;
  }
  if (firstError) return fail(*firstError);
  return {};
}

Result<void> runTokenRefresh(const GlobalOptions& global, const Output& output) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  const auto before = storedCredentials(**stack);
  if (!before) return fail(before.error());
  Promise<void> promise;
  const auto task = promise.task();
  (*stack)->credentialsService().refreshOAuth2Credentials(std::move(promise).completion());
  if (const auto refreshed = (*stack)->await(task); !refreshed) return fail(refreshed.error());
  const auto credentials = storedCredentials(**stack);
  if (!credentials) return fail(credentials.error());
  // The library keeps such a pair in memory, which ends with this process.
  if (haveSameTokens(*before, *credentials)) {
    return fail(ToolError{ToolError::Kind::notStored, "The new credentials could not be stored"});
  }
  return show(output, *credentials);
}

Result<void> runTokenRevoke(const GlobalOptions& global, const Output& output) {
  const auto stack = Stack::make(global);
  if (!stack) return fail(stack.error());
  if (const auto revoked = (*stack)->await((*stack)->credentialsService().revokeCredentials()); !revoked) {
    return fail(revoked.error());
  }
  return output.event([](ObjectWriter&) {}, "The refresh token is revoked. `lx logout --local` forgets it here, too.");
}

}  // namespace lx::tool
