#include <functional>
#include <ostream>

#include "e2e/Endpoints.h"

// Whatever goes wrong with the answers of an endpoint: every caller is answered once, in time, by an error that says
// what it was, the stored credentials stay, and once the fault is gone the next call succeeds.

namespace lx {
namespace {

using std::chrono::milliseconds;

const std::string lost = "URLSessionError.connectionLost";
const std::string insecure = "URLSessionError.secureConnectionFailed";
const std::string late = "URLSessionError.timedOut";
const std::string refused = "NetworkServiceError.serverError";

/// The short time-out of the cases that are about time.
constexpr milliseconds limit{150};

struct FaultCase {
  std::string name;
  std::function<Fault::Effect(const Endpoint&)> effect = {};
  milliseconds delay{0};
  std::optional<Relay::Rule> rule = {};
  std::vector<std::string> errors;  ///< any of these
  std::size_t requests = 0;         ///< that a call sends; 0 when that is a matter of luck
  bool isAboutTime = false;         ///< and so is tried with a short time-out
  bool isOfContent = false;         ///< the body arrives whole, but is not what it should be
  bool mayPass = false;
};

void PrintTo(const FaultCase& c, std::ostream* stream) { *stream << c.name; }

/// A caller, and how often it was answered by what.
struct Caller {
  std::string what;
  const Endpoint* endpoint = nullptr;
  int answers = 0;
  std::string outcome = {};
};

class Faults : public StackTest, public ::testing::WithParamInterface<FaultCase> {
 public:
  App& app() const { return *app_; }
  App& expiredApp() const { return *expiredApp_; }
  EndpointArguments arguments() const {
    return {.code = backend->issueCode(codeChallenge, "ordinary").value(),
            .codeVerifier = codeVerifier,
            .codeChallenge = codeChallenge,
            .lxauth = "lxauth-managed",
            .providerToken = "google-ordinary",
            .credentials = mint("managed")};
  }

 protected:
  void SetUp() override {
    StackTest::SetUp();
    backend->setRefreshGrace(std::chrono::hours(1));  // so that an answer that was lost can be asked for again
    relay_ = *Relay::start(backend->port());
    app_ = makeApp(folder);
    signIn(*app_);
    expiredApp_ = makeApp(expiredFolder_);
    old_ = signIn(*expiredApp_, "institution", std::chrono::seconds(-10));
  }

  std::unique_ptr<App> makeApp(const TemporaryFolder& group) const {
    return std::make_unique<App>(RealStackOptions{.folder = group.path(),
                                                  .address = relay_->address(),
                                                  .caFile = backend->caFile(),
                                                  .clock = std::make_shared<HastyClock>()});
  }

  void setLimit(milliseconds time) const {
    app_->stack.session->setLimit(time);
    expiredApp_->stack.session->setLimit(time);
  }

  std::unique_ptr<Relay> relay_;
  TemporaryFolder expiredFolder_;
  std::unique_ptr<App> app_;
  std::unique_ptr<App> expiredApp_;  // whose credentials need a refresh
  OAuth2Credentials old_;
};

/// Calls every endpoint at once, the refresh by callers of both kinds, and waits for all answers.
class Calls {
 public:
  explicit Calls(const Faults& test) {
    for (const auto& endpoint : endpoints) {
      endpoint.call(test.app(), test.arguments())
          .finally([answer = add(endpoint.route(), endpoint)](const Result<void>& result) { answer(result); });
    }
    for (int i = 0; i < 4; ++i) {
      test.expiredApp().credentials().getOAuth2Credentials(
          [answer = add("get", refreshEndpoint)](const Result<OAuth2Credentials>& result) {
            answer(result ? Result<void>() : Result<void>(fail(result.error())));
          });
      test.expiredApp().credentials().refreshOAuth2Credentials(
          [answer = add("refresh", refreshEndpoint)](const Result<void>& result) { answer(result); });
    }
    pumpUntil([&] { return std::ranges::all_of(callers(), [](const auto& caller) { return caller.answers > 0; }); });
  }

  std::vector<Caller> callers() const {
    return callers_->withLock([](const auto& all) { return all; });
  }

 private:
  std::function<void(const Result<void>&)> add(const std::string& what, const Endpoint& endpoint) {
    const auto position = callers_->withLock([&](auto& all) {
      all.push_back({.what = what, .endpoint = &endpoint});
      return all.size() - 1;
    });
    return [callers = callers_, position](const Result<void>& result) {
      callers->withLock([&](auto& all) {
        ++all[position].answers;
        all[position].outcome = result ? "ok" : result.error().typeName();
      });
      MainQueue::shared()->wake();
    };
  }

  // Outlives the test when a caller is answered too late, or never.
  const std::shared_ptr<Protected<std::vector<Caller>>> callers_ = std::make_shared<Protected<std::vector<Caller>>>();
};

/// What a caller may get.
std::vector<std::string> outcomes(const FaultCase& fault, const Endpoint& endpoint) {
  if (fault.isOfContent && endpoint.field.empty()) return {"ok"};
  if (fault.isOfContent && endpoint.keepsResponse && fault.name != "EmptyBody") {
    return {"NetworkServiceError.undecodableBody"};
  }
  auto all = fault.errors;
  if (fault.mayPass) all.emplace_back("ok");
  return all;
}

TEST_P(Faults, EndEveryCallOnceAndLeaveTheCredentials) {
  const auto& fault = GetParam();
  std::vector<const Endpoint*> all{&refreshEndpoint};
  for (const auto& endpoint : endpoints) all.push_back(&endpoint);
  for (const auto* endpoint : all) {
    if (!fault.effect) break;
    backend->addFault(endpoint->route(),
                      {.effect = fault.effect(*endpoint), .delay = fault.delay, .count = std::nullopt});
  }
  if (fault.rule) relay_->addRule(*fault.rule);
  if (fault.isAboutTime) setLimit(limit);
  const auto signedIn = app_->stack.store->loadOAuth2Credentials().value();

  const auto start = Clock::system()->steadyNow();
  const Calls calls(*this);
  const auto passed = Clock::system()->steadyNow() - start;
  EXPECT_LT(passed, watchdog / 2);
  bool isRefreshed = false;
  bool hasFailed = false;
  for (const auto& caller : calls.callers()) {
    EXPECT_THAT(outcomes(fault, *caller.endpoint), ::testing::Contains(caller.outcome)) << caller.what;
    hasFailed = hasFailed || caller.outcome != "ok";
    if (caller.endpoint == &refreshEndpoint && caller.outcome == "ok") isRefreshed = true;
  }
  const bool hasBroken = relay_->openConnections() < relay_->connectionCount() || passed >= limit;
  EXPECT_TRUE(hasFailed || hasBroken) << "nothing has gone wrong";
  for (const auto* endpoint : all) {
    if (fault.requests == 0) break;
    const auto sent = backend->journal().count(endpoint->path, endpoint->grant);
    // libcurl itself sends a GET again whose kept connection breaks before the answer begins.
    EXPECT_GE(sent, fault.requests) << endpoint->route();
    EXPECT_LE(sent, fault.requests * (endpoint->method == "GET" ? 2 : 1)) << endpoint->route();
  }
  EXPECT_EQ(app_->stack.store->loadOAuth2Credentials().value(), signedIn);
  if (!isRefreshed) {
    EXPECT_EQ(expiredApp_->stack.store->loadOAuth2Credentials().value(), old_);
  }

  backend->setScenario({});
  setLimit(std::chrono::seconds(20));
  if (fault.rule) {
    // Connections that are open may still come to the byte where they break.
    relay_->clearRules();
    app_ = makeApp(folder);
    expiredApp_ = makeApp(expiredFolder_);
  }
  for (const auto& caller : Calls(*this).callers()) {
    EXPECT_EQ(caller.outcome, "ok") << caller.what << " when the fault is gone";
  }
  EXPECT_NE(expiredApp_->stack.store->loadOAuth2Credentials().value(), old_);
  for (const auto& caller : calls.callers()) EXPECT_EQ(caller.answers, 1) << caller.what;
}

template <class Effect>
std::function<Fault::Effect(const Endpoint&)> always(Effect effect) {
  return [effect](const Endpoint&) { return effect; };
}

const FaultCase faultCases[] = {
    {.name = "Status500", .effect = always(Fault::Status{.status = 500}), .errors = {refused}, .requests = 4},
    {.name = "Status429", .effect = always(Fault::Status{.status = 429}), .errors = {refused}, .requests = 4},
    {.name = "Status408", .effect = always(Fault::Status{.status = 408}), .errors = {refused}, .requests = 2},
    {.name = "Status403", .effect = always(Fault::Status{.status = 403}), .errors = {refused}, .requests = 1},
    {.name = "Drop", .effect = always(Fault::Drop{}), .errors = {lost}, .requests = 4},
    {.name = "DropProcessed", .effect = always(Fault::Drop{.processed = true}), .errors = {lost}, .requests = 4},
    {.name = "DropInBody", .effect = always(Fault::DropInBody{.bytes = 1}), .errors = {lost}, .requests = 4},
    {.name = "Truncated", .effect = always(Fault::Truncated{}), .errors = {lost}, .requests = 4},
    {.name = "Garbage",
     .effect = always(Fault::Garbage{"SSH-2.0\r\n\r\n"}),
     .errors = {"URLSessionError.badServerResponse"},
     .requests = 4},
    {.name = "Oversized",
     .effect = always(Fault::Oversized{.bytes = 100'000}),
     .errors = {"URLSessionError.bodyTooLarge"},
     .requests = 4},
    {.name = "OversizedChunked",
     .effect = always(Fault::Oversized{.bytes = 100'000, .chunked = true}),
     .errors = {"URLSessionError.bodyTooLarge"},
     .requests = 4},
    {.name = "Delay",
     .effect = always(Fault::Answer{}),
     .delay = std::chrono::hours(1),
     .errors = {late},
     .isAboutTime = true},
    {.name = "Slow",
     .effect = [](const Endpoint&) { return Fault::Slow{.bytes = 1, .interval = limit}; },
     .errors = {late},
     .isAboutTime = true},
    {.name = "WrongType",
     .effect = [](const Endpoint& endpoint) { return Fault::WrongType{endpoint.field}; },
     .errors = {"DecodingError.typeMismatch"},
     .requests = 1,
     .isOfContent = true},
    {.name = "MissingField",
     .effect = [](const Endpoint& endpoint) { return Fault::MissingFields{{endpoint.field}}; },
     .errors = {"DecodingError.missing"},
     .requests = 1,
     .isOfContent = true},
    {.name = "NotJSON",
     .effect = always(Fault::NotJSON{}),
     .errors = {"DecodingError.malformed"},
     .requests = 1,
     .isOfContent = true},
    {.name = "EmptyBody",
     .effect = always(Fault::EmptyBody{}),
     .errors = {"NetworkServiceError.missingBody"},
     .requests = 1,
     .isOfContent = true},
};
INSTANTIATE_TEST_SUITE_P(OfAnswers, Faults, ::testing::ValuesIn(faultCases),
                         [](const auto& test) { return test.param.name; });

/// Every connection breaks at the same byte: in the handshake, in the request, in the answers.
std::vector<FaultCase> connectionCases() {
  const std::pair<std::string, Relay::Effect> effects[] = {
      {"Cut", Relay::Cut{}}, {"Reset", Relay::Reset{}}, {"Corrupt", Relay::Corrupt{}}, {"Stall", Relay::Stall{}}};
  const std::tuple<std::string, Relay::Direction, std::uint64_t> places[] = {
      {"FirstHello", Relay::Direction::toServer, 0},  {"Hello", Relay::Direction::toServer, 200},
      {"Request", Relay::Direction::toServer, 800},   {"FirstAnswer", Relay::Direction::toClient, 0},
      {"Handshake", Relay::Direction::toClient, 120}, {"Answers", Relay::Direction::toClient, 1900}};
  std::vector<FaultCase> cases;
  for (const auto& [effectName, effect] : effects) {
    for (const auto& [placeName, direction, offset] : places) {
      const bool stalls = std::holds_alternative<Relay::Stall>(effect);
      // What comes after the handshake depends on what a connection carried before, and a code whose answer was lost
      // is refused when it is sent again.
      const bool isLate = placeName == "Request" || placeName == "Answers";
      auto errors = stalls ? std::vector{late} : std::vector{lost, insecure};
      if (isLate) errors.push_back(refused);
      if (offset == 0) errors.emplace_back("URLSessionError.cannotConnect");
      cases.push_back({.name = effectName + "In" + placeName,
                       .rule = Relay::Rule{.effect = effect, .direction = direction, .offset = offset},
                       .errors = std::move(errors),
                       .isAboutTime = stalls,
                       .mayPass = isLate});
    }
  }
  return cases;
}
INSTANTIATE_TEST_SUITE_P(OfConnections, Faults, ::testing::ValuesIn(connectionCases()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace lx
