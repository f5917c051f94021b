#include "LXTesting/Backend/ApplicationInternal.h"
#include "LXTesting/Backend/RedactionInternal.h"

namespace lx::backend {

namespace {

constexpr std::string_view controlPrefix = "/_dev/";

}  // namespace

Application::Application(std::shared_ptr<Clock> clock, DevBackendOptions options)
    : clock_(std::move(clock)),
      start_(clock_->steadyNow()),
      world_(clock_, options),
      faults_(std::move(options.scenario)) {
  addTokenRoutes(router_, world_);
  addNativeSignInRoute(router_, world_);
  addUnifiedLoginRoutes(router_, world_);
  addSignInPages(router_, world_);
  addUserRoutes(router_, world_);
  addSettingsRoutes(router_, world_);
  addOrganisationRoutes(router_, world_);
  addVoiceRoutes(router_, world_);
  addEmotionRoutes(router_);
  addControlRoutes(control_, *this);
}

std::optional<ServerResponse> Application::answer(const ServerRequest& request, Wire& wire) {
  if (request.path.starts_with(controlPrefix)) return control_.route(request);
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(clock_->steadyNow() - start_);
  auto entry = journalEntry(request, time);
  const auto fault = faults_.take(request, entry.grant.value_or(""));
  if (fault) entry.fault = kind(*fault);
  const auto sequence = journal_.begin(std::move(entry));
  const auto route = [&] { return router_.route(request); };
  if (!fault) {
    auto response = route();
    journal_.finish(sequence, response.status, redactedHeaders(response));
    return response;
  }
  auto response = faultyResponse(*fault, route);
  journal_.finish(sequence, statusOnTheWire(*fault, response), redactedHeaders(response));
  return deliver(*fault, std::move(response), wire);
}

namespace {

std::unexpected<Error> unknownUser(const std::string& user) {
  return fail(DevBackendError{DevBackendError::Kind::unknownUser, "no user \"" + user + "\""});
}

}  // namespace

Result<std::string> Application::issueCode(const std::string& codeChallenge, const std::string& user) {
  const auto found = world_.accounts.find(user);
  if (!found) return unknownUser(user);
  return world_.codes.issue(codeChallenge, {found->id, {}});
}

Result<DevCredentials> Application::mintCredentials(const std::string& user) {
  const auto found = world_.accounts.find(user);
  if (!found) return unknownUser(user);
  auto tokens = world_.tokens.issue({found->id, {}});
  return DevCredentials{std::move(tokens.accessToken), std::move(tokens.refreshToken), tokens.expiresIn};
}

}  // namespace lx::backend
