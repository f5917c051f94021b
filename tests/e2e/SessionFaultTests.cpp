#include <thread>

#include "e2e/StackTest.h"

namespace lx {
namespace {

using namespace std::chrono_literals;
using Kind = URLSessionError::Kind;

constexpr auto anyURL = "https://auth.lexiconia.com/v4/api/none";

std::unique_ptr<DevBackend> backendWith(Scenario scenario) {
  return std::move(*DevBackend::start({.scenario = std::move(scenario)}));
}

/// A relay in front that breaks nothing by itself.
Scenario relayed() {
  Scenario scenario;
  scenario.connections = {{.effect = Relay::Slow{.bytesPerSecond = 100'000'000}}};
  return scenario;
}

std::shared_ptr<URLSession> sessionTo(const DevBackend& backend, std::string caFile) {
  return CurlURLSession::make({.timeout = 300ms, .caFile = std::move(caFile), .connectTo = backend.address()}).value();
}

std::optional<Kind> kindOf(const Result<NetworkResponse>& result) {
  const auto* error = result ? nullptr : result.error().as<URLSessionError>();
  return error ? std::optional(error->kind) : std::nullopt;
}

Result<NetworkResponse> send(URLSession& session, HTTPMethod method, const char* url = anyURL) {
  return await(session.send({method, *URL::make(url)}));
}

TEST(SessionFaults, OnlyTrustedCertificatesForTheVeryHostAreAccepted) {
  const auto backend = backendWith({});
  const auto stranger = backendWith({});
  const auto session = sessionTo(*backend, backend->caFile());

  EXPECT_EQ(send(*session, HTTPMethod::get)->statusCode, 404);
  EXPECT_EQ(kindOf(send(*session, HTTPMethod::get, "https://lexiconia.example/")), Kind::secureConnectionFailed);
  const auto trustingAnother = sessionTo(*backend, stranger->caFile());
  EXPECT_EQ(kindOf(send(*trustingAnother, HTTPMethod::get)), Kind::secureConnectionFailed);
  EXPECT_EQ(backend->journal().count(), 1u);
}

TEST(SessionFaults, AHandshakeThatBreaksIsToldFromOneThatFails) {
  const std::vector<std::pair<Relay::Rule, Kind>> cases = {
      {{.effect = Relay::Cut{}, .offset = 0}, Kind::connectionLost},
      {{.effect = Relay::Reset{}, .offset = 100}, Kind::connectionLost},
      {{.effect = Relay::Cut{}, .offset = 700}, Kind::connectionLost},
      {{.effect = Relay::Corrupt{}, .offset = 20}, Kind::secureConnectionFailed},
      {{.effect = Relay::Stall{}, .offset = 0}, Kind::timedOut},
      {{.effect = Relay::Stall{}, .direction = Relay::Direction::toServer, .offset = 10}, Kind::timedOut},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    Scenario scenario;
    scenario.connections = {cases[i].first};
    const auto backend = backendWith(std::move(scenario));
    EXPECT_EQ(kindOf(send(*sessionTo(*backend, backend->caFile()), HTTPMethod::get)), cases[i].second) << "case " << i;
    EXPECT_EQ(backend->journal().count(), 0u);
  }
}

TEST(SessionFaults, AKeptConnectionThatBreaksUnderAPostEndsItOnceAndTheNextRequestHasANewOne) {
  const std::vector<std::pair<Relay::Effect, Kind>> cases = {{Relay::Corrupt{}, Kind::connectionLost},
                                                             {Relay::Stall{}, Kind::timedOut}};
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const auto backend = backendWith(relayed());
    const auto session = sessionTo(*backend, backend->caFile());
    ASSERT_TRUE(send(*session, HTTPMethod::post));
    ASSERT_TRUE(send(*session, HTTPMethod::post));
    EXPECT_EQ(backend->relay()->connectionCount(), 1);

    backend->relay()->disrupt(cases[i].first);
    EXPECT_EQ(kindOf(send(*session, HTTPMethod::post)), cases[i].second);
    EXPECT_EQ(backend->journal().count(), 3u);
    EXPECT_TRUE(send(*session, HTTPMethod::post));
  }
}

TEST(SessionFaults, AConnectionThatBrokeWhileIdleIsNotUsedAgain) {
  for (const Relay::Effect& effect : {Relay::Effect(Relay::Cut{}), Relay::Effect(Relay::Reset{})}) {
    const auto backend = backendWith(relayed());
    const auto session = sessionTo(*backend, backend->caFile());
    ASSERT_TRUE(send(*session, HTTPMethod::post));
    backend->relay()->disrupt(effect);
    while (backend->relay()->openConnections() > 0) std::this_thread::yield();
    EXPECT_TRUE(send(*session, HTTPMethod::post));
    EXPECT_EQ(backend->journal().count(), 2u);
  }
}

}  // namespace
}  // namespace lx
