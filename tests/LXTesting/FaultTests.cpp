#include <thread>

#include <curl/curl.h>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using namespace std::chrono_literals;

struct DevBackendFaults : BackendTest {
  void SetUp() override {
    start();
    token = backend->mintCredentials("ordinary").value().accessToken;
  }

  Answer userWith(Fault::Effect effect) {
    backend->addFault("GET /v4/api/user", {.effect = std::move(effect)});
    return user(token);
  }

  std::string token;
};

TEST_F(DevBackendFaults, EachHasItsEffectOnTheWireOnce) {
  const struct {
    Fault::Effect effect;
    std::vector<int> curlCodes;  ///< any of them
    int status;
    std::string body;
  } cases[] = {
      {Fault::Status{.status = 503, .body = "{}", .headers = {{"Retry-After", "7"}}}, {CURLE_OK}, 503, "{}"},
      {Fault::Drop{}, {CURLE_RECV_ERROR, CURLE_SEND_ERROR, CURLE_GOT_NOTHING}, 0, ""},
      {Fault::DropInBody{.bytes = 4}, {CURLE_RECV_ERROR, CURLE_PARTIAL_FILE}, 200, R"({"id)"},
      {Fault::Garbage{.bytes = "SSH-2.0\r\n\r\n"}, {CURLE_WEIRD_SERVER_REPLY, CURLE_UNSUPPORTED_PROTOCOL}, 0, ""},
      {Fault::Oversized{.bytes = 40'000}, {CURLE_OK}, 200, std::string(40'000, ' ')},
      {Fault::Oversized{.bytes = 40'000, .chunked = true}, {CURLE_OK}, 200, std::string(40'000, ' ')},
      {Fault::NotJSON{}, {CURLE_OK}, 200, "{\"unfinished\": "},
      {Fault::EmptyBody{}, {CURLE_OK}, 200, ""},
  };
  for (const auto& c : cases) {
    const auto answer = userWith(c.effect);
    SCOPED_TRACE(kind({.effect = c.effect}));
    EXPECT_THAT(c.curlCodes, testing::Contains(answer.curlCode));
    EXPECT_EQ(answer.status, c.status);
    EXPECT_EQ(answer.body, c.body);
    EXPECT_EQ(backend->journal().entries().back().status, c.status);
    EXPECT_EQ(user(token).json("id"), "1001") << "the next request meets no fault";
  }
}

TEST_F(DevBackendFaults, ThoseOfTheBodyLeaveTheRestOfIt) {
  const auto whole = user(token).body;
  const auto truncated = userWith(Fault::Truncated{.missing = 10});
  EXPECT_EQ(truncated.curlCode, CURLE_PARTIAL_FILE);
  EXPECT_EQ(truncated.body, whole);
  EXPECT_EQ(userWith(Fault::Slow{.bytes = 100, .interval = 1ms}).body, whole);
  EXPECT_THAT(userWith(Fault::WrongType{.field = "email"}).body, testing::HasSubstr(R"("email":["olive@)"));
  const auto missing = userWith(Fault::MissingFields{.fields = {"email", "isTest"}});
  EXPECT_EQ(missing.json("email") + missing.json("isTest"), "");
  EXPECT_EQ(missing.json("id"), "1001");
  backend->addFault("GET /v3/*", {.effect = Fault::MissingFields{.fields = {"customFields.frontend_role"}}});
  EXPECT_THAT(client().get("/v3/user?field=frontend_role", {"Cookie: lxauth=lxauth-ordinary"}).body,
              testing::HasSubstr(R"("customFields":{})"));
}

TEST_F(DevBackendFaults, TheyComeInOrderForTheirGrantAndAsOftenAsTheyCount) {
  const auto scenario = Scenario::parse(R"({"routes": {
    "POST /v4/api/oauth2/token refresh_token": [{"fault": "status", "status": 500, "count": 2}, {"fault": "drop", "processed": true}],
    "/v3/user": [{"fault": "status", "status": 429, "count": "all"}]}})");
  ASSERT_TRUE(scenario) << scenario.error().description();
  backend->setScenario(*scenario);
  const auto refreshToken = backend->mintCredentials("ordinary").value().refreshToken;
  EXPECT_EQ(redeem("unknown", verifier).status, 400) << "another grant";
  EXPECT_EQ(refresh(refreshToken).status, 500);
  EXPECT_EQ(refresh(refreshToken).status, 500);
  EXPECT_NE(refresh(refreshToken).curlCode, CURLE_OK);
  EXPECT_EQ(refresh(refreshToken).status, 401) << "the exchange took place, only its answer was lost";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(client().get("/v3/user").status, 429);
}

TEST_F(DevBackendFaults, ADelayedAnswerHoldsTheClientAndNotTheServersEnd) {
  for (const auto& fault : {Fault{.delay = 1h}, Fault{.bodyDelay = 1h}}) {
    backend->addFault("/v4/api/user", fault);
    auto impatient = client();
    impatient.timeoutMilliseconds = 100;
    EXPECT_EQ(impatient.get("/v4/api/user").curlCode, CURLE_OPERATION_TIMEDOUT);
  }
  backend->addFault("/v3/user", {.delay = 1h});
  std::thread waiting([held = client()] { EXPECT_NE(held.get("/v3/user").curlCode, CURLE_OK); });
  EXPECT_TRUE(backend->journal().waitForRequests(1, "/v3/user", 20s));
  backend.reset();
  waiting.join();
}

TEST(Scenario, ErrorsSayWhere) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"{", "The scenario is not JSON"},
      {R"({"route": {}})", "route: is unknown"},
      {R"({"routes": {"/a": {}}})", R"(routes["/a"]: must be a list)"},
      {R"({"routes": {"/a": [{"fault": "drop"}, {"fault": "bang"}]}})",
       R"(routes["/a"][1].fault: is no kind of fault)"},
      {R"({"routes": {"/a": [{"fault": "status", "status": 99}]}})", R"(routes["/a"][0].status: must be 100 to 599)"},
      {R"({"routes": {"/a": [{"fault": "drop", "delay": -1}]}})",
       R"(routes["/a"][0].delay: must be a whole number that is not negative)"},
      {R"({"routes": {"/a": [{"fault": "drop", "status": 1}]}})", R"(routes["/a"][0].status: is unknown)"},
      {R"({"connections": [{"effect": "cut", "direction": "up"}]})",
       "connections[0].direction: must be toClient or toServer"},
  };
  for (const auto& c : cases) {
    const auto parsed = Scenario::parse(c.text);
    ASSERT_FALSE(parsed) << c.text;
    EXPECT_EQ(parsed.error().description(), c.error);
  }
}

}  // namespace
}  // namespace lx::test
