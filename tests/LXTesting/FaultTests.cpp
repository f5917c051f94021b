#include <thread>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using namespace std::chrono_literals;

using Faults = BackendTest;

TEST_F(Faults, ComeInOrderForTheirGrantAndAsOftenAsTheyCount) {
  const auto scenario = Scenario::parse(R"({"routes": {
    "POST /v4/api/oauth2/token refresh_token": [{"fault": "status", "status": 500, "count": 2}, {"fault": "drop", "processed": true}],
    "/v3/user": [{"fault": "status", "status": 429, "count": "all"}]}})");
  ASSERT_TRUE(scenario) << scenario.error().description();
  backend->setScenario(*scenario);
  const auto refreshToken = backend->mintCredentials("ordinary").value().refreshToken;
  EXPECT_EQ(redeem("unknown", verifier).status, 400) << "another grant";
  EXPECT_EQ(refresh(refreshToken).status, 500);
  EXPECT_EQ(refresh(refreshToken).status, 500);
  EXPECT_EQ(refresh(refreshToken).status, 0);
  EXPECT_EQ(refresh(refreshToken).status, 401) << "the exchange took place, only its answer was lost";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(get("/v3/user").status, 429);
}

TEST_F(Faults, OfTheBodyLeaveTheRestOfIt) {
  backend->addFault("GET /v3/*", {.effect = Fault::MissingFields{.fields = {"customFields.frontend_role", "email"}}});
  const auto missing = get("/v3/user?field=frontend_role", {{"Cookie", "lxauth=lxauth-ordinary"}});
  EXPECT_THAT(missing.body, testing::HasSubstr(R"("customFields":{})"));
  EXPECT_EQ(missing.json("id") + missing.json("email"), "1001");
}

TEST_F(Faults, OfConnectionsThatStallHoldTheClientAndNotTheRelaysEnd) {
  auto relay = std::move(Relay::start(backend->port()).value());
  const auto stalled = [&] {
    relay->addRule({.effect = Relay::Stall{}, .direction = Relay::Direction::toServer});
    const auto session = CurlURLSession::make({.caFile = backend->caFile(), .connectTo = relay->address()}).value();
    auto task = session->send(request(HTTPMethod::get, "/v4/api/user"));
    while (relay->openConnections() == 0) std::this_thread::yield();
    return std::pair(session, task);
  };
  const auto released = stalled();
  relay->release();
  EXPECT_EQ(MainQueue::shared()->runUntil(released.second)->statusCode, 401);
  const auto lost = stalled();
  relay.reset();
  EXPECT_FALSE(MainQueue::shared()->runUntil(lost.second));
}

TEST(Scenario, ErrorsSayWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"{", "The scenario is not JSON"},
      {R"({"route": {}})", "route: is unknown"},
      {R"({"routes": {"/a": {}}})", R"(routes["/a"]: must be a list)"},
      {R"({"routes": {"/a": [{"fault": "drop"}, {"fault": "bang"}]}})",
       R"(routes["/a"][1].fault: is no kind of fault)"},
      {R"({"routes": {"/a": [{"fault": "status", "status": 99}]}})", R"(routes["/a"][0].status: must be 100 to 599)"},
      {R"({"connections": [{"effect": "cut", "direction": "up"}]})",
       "connections[0].direction: must be toClient or toServer"}};
  for (const auto& [text, error] : cases) EXPECT_EQ(Scenario::parse(text).error().description(), error);
}

}  // namespace
}  // namespace lx::test
