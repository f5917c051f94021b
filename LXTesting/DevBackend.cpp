#include "LXTesting/DevBackend.h"

#include "LXTesting/Backend/ApplicationInternal.h"
#include "LXTesting/Backend/TLSServerInternal.h"

namespace lx {

/// In the order of their dependence, so that they end in the opposite one: nobody connects, then nobody asks.
struct DevBackend::Parts {
  Parts(std::shared_ptr<Clock> clock, Options options) : application(std::move(clock), std::move(options)) {}

  backend::Application application;
  std::string caPEM;
  std::unique_ptr<backend::CAFile> caFile;
  std::unique_ptr<backend::TLSServer> server;
  std::unique_ptr<Relay> relay;
};

Result<std::unique_ptr<DevBackend>> DevBackend::start(Options options, std::shared_ptr<Clock> clock) {
  const auto authority = backend::CertificateAuthority::make(options.hostNames);
  if (!authority) return fail(authority.error());
  auto caFile = backend::CAFile::write(authority->pem(), options.caFile);
  if (!caFile) return fail(caFile.error());
  const auto rules = options.scenario.connections;
  const auto port = options.port;
  auto parts = std::make_unique<Parts>(std::move(clock), std::move(options));
  parts->caPEM = authority->pem();
  parts->caFile = std::make_unique<backend::CAFile>(std::move(*caFile));
  auto server = backend::TLSServer::start(
      rules.empty() ? port : std::uint16_t{0}, *authority,
      [&application = parts->application](const backend::ServerRequest& request, backend::Wire& wire) {
        return application.answer(request, wire);
      });
  if (!server) return fail(server.error());
  parts->server = std::move(*server);
  if (!rules.empty()) {
    auto relay = Relay::start(parts->server->port(), port);
    if (!relay) return fail(relay.error());
    for (const auto& rule : rules) (*relay)->addRule(rule);
    parts->relay = std::move(*relay);
  }
  return std::unique_ptr<DevBackend>(new DevBackend(std::move(parts)));
}

DevBackend::DevBackend(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
DevBackend::~DevBackend() = default;

std::uint16_t DevBackend::port() const { return parts_->relay ? parts_->relay->port() : parts_->server->port(); }
std::string DevBackend::address() const { return "127.0.0.1:" + std::to_string(port()); }
const std::string& DevBackend::caFile() const { return parts_->caFile->path(); }
const std::string& DevBackend::caPEM() const { return parts_->caPEM; }

void DevBackend::setTokenLifetime(std::int64_t seconds) { parts_->application.world().tokens.setExpiresIn(seconds); }

void DevBackend::setRefreshGrace(std::chrono::milliseconds grace) {
  parts_->application.world().tokens.setGrace(grace);
}

void DevBackend::setCookies(DevCookies cookies) {
  parts_->application.world().cookies.withLock([&](DevCookies& current) { current = cookies; });
}

void DevBackend::setScenario(Scenario scenario) { parts_->application.faults().set(std::move(scenario)); }

void DevBackend::addFault(std::string route, Fault fault) {
  parts_->application.faults().add(std::move(route), std::move(fault));
}

void DevBackend::revokeRefreshToken(const std::string& refreshToken) {
  parts_->application.world().tokens.revoke(refreshToken);
}

void DevBackend::revokeRefreshTokens() { parts_->application.world().tokens.revokeAll(); }
void DevBackend::expireAccessTokens() { parts_->application.world().tokens.expireAccessTokens(); }

std::vector<DevUser> DevBackend::users() const { return parts_->application.world().accounts.users(); }
void DevBackend::addUser(DevUser user) { parts_->application.world().accounts.add(std::move(user)); }

Result<std::string> DevBackend::issueCode(const std::string& codeChallenge, const std::string& user) {
  return parts_->application.issueCode(codeChallenge, user);
}

Result<DevCredentials> DevBackend::mintCredentials(const std::string& user) {
  return parts_->application.mintCredentials(user);
}

Journal& DevBackend::journal() { return parts_->application.journal(); }
Relay* DevBackend::relay() { return parts_->relay.get(); }

}  // namespace lx
