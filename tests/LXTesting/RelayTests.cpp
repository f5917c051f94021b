#include <thread>

#include <curl/curl.h>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using namespace std::chrono_literals;

struct RelayTest : BackendTest {
  void SetUp() override {
    start();
    relay = std::move(Relay::start(backend->port()).value());
  }

  Answer get(long timeoutMilliseconds = 20'000) const {
    Client through(relay->address(), backend->caFile());
    through.timeoutMilliseconds = timeoutMilliseconds;
    return through.get("/v4/api/user");
  }

  std::unique_ptr<Relay> relay;
};

TEST_F(RelayTest, BreaksTheConnectionThatItIsToldToAndNoOther) {
  const Relay::Effect effects[] = {Relay::Cut{}, Relay::Reset{}, Relay::Corrupt{}};
  std::int64_t connection = 0;
  for (const auto direction : {Relay::Direction::toClient, Relay::Direction::toServer}) {
    for (const auto& effect : effects) {
      relay->addRule({.effect = effect, .direction = direction, .offset = 60, .connection = connection + 1});
      EXPECT_EQ(get().curlCode, CURLE_SSL_CONNECT_ERROR) << "effect " << effect.index();
      EXPECT_EQ(get().status, 401);
      connection += 2;
    }
  }
  EXPECT_EQ(relay->connectionCount(), connection);
}

TEST_F(RelayTest, PassesEverythingInTheEndWhenItOnlyStallsOrSlows) {
  relay->addRule({.effect = Relay::Stall{5ms}, .direction = Relay::Direction::toServer, .offset = 100});
  relay->addRule({.effect = Relay::Slow{.bytesPerSecond = 50'000}});
  EXPECT_EQ(get().status, 401);
  relay->clearRules();
  relay->addRule({.effect = Relay::Stall{}});
  EXPECT_EQ(get(100).curlCode, CURLE_OPERATION_TIMEDOUT);
  std::thread waiting([this] { EXPECT_EQ(get().status, 401); });
  while (relay->connectionCount() < 3) std::this_thread::yield();
  relay->release();
  waiting.join();
}

TEST_F(RelayTest, EndsWithConnectionsStalledForEver) {
  relay->addRule({.effect = Relay::Stall{}, .direction = Relay::Direction::toServer});
  std::thread waiting([this, address = relay->address()] {
    EXPECT_NE(Client(address, backend->caFile()).get("/v4/api/user").curlCode, CURLE_OK);
  });
  while (relay->openConnections() == 0) std::this_thread::yield();
  relay.reset();
  waiting.join();
}

TEST(Relay, StandsInFrontOfABackendWhoseScenarioAsksForIt) {
  auto scenario = Scenario::parse(R"({"connections": [{"effect": "reset", "offset": 1000, "connection": 1}]})");
  const auto backend = DevBackend::start({.scenario = scenario.value()}).value();
  const Client client(backend->address(), backend->caFile());
  EXPECT_NE(client.get("/v4/api/user").curlCode, CURLE_OK);
  EXPECT_EQ(client.get("/v4/api/user").status, 401);
  ASSERT_NE(backend->relay(), nullptr);
  EXPECT_EQ(backend->relay()->connectionCount(), 2);
}

}  // namespace
}  // namespace lx::test
