#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Core/RequestRetrierImpl.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryPolicies.h"
#include "LXUtils/Concurrency/RuntimeError.h"
#include "LXUtils/Foundation/Overloaded.h"

#include "StackFixture.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

const Error noConnection = URLSessionError{URLSessionError::Kind::cannotConnect, ""};

// The actions of a policy for one outcome again and again, until it is given back.
std::vector<std::string> actions(const RetryPolicy& policy, const URLRequest& request, const auto& outcome) {
  std::vector<std::string> all;
  while (all.size() < 10) {
    const auto delay = [](const RetryDescriptor& d) { return std::to_string(static_cast<int>(d.delay)); };
    all.push_back(std::visit(
        Overloaded{[&](const RetryAction::RefreshCredentialsAndRetry& a) { return "refresh " + delay(a.descriptor); },
                   [&](const RetryAction::Retry& a) { return "retry " + delay(a.descriptor); },
                   [](const RetryAction::GiveResponseBack&) { return std::string("back"); },
                   [](const RetryAction::GiveErrorBack&) { return std::string("error"); }},
        policy.resolveRetryAction(request, outcome).outcome));
    if (all.back() == "back" || all.back() == "error") break;
  }
  return all;
}

TEST(RetryPolicies, FollowTheirProgressionsAndStartAgainAfterwards) {
  const auto looseManager = std::make_shared<RetryProgressionManagerImpl>();
  const auto ownManager = std::make_shared<RetryProgressionManagerImpl>();
  const LooseRetryPolicy loose(looseManager);
  const auto oauth2 = std::make_shared<OAuth2RetryPolicy>(loose, ownManager);
  const AuthenticationServiceOAuth2RetryPolicy signIn(oauth2);
  const URLRequest request(HTTPMethod::get, *URL::make("https://h.test/"));

  for (int round = 0; round < 2; ++round) {
    for (const auto* policy : std::initializer_list<const RetryPolicy*>{&loose, oauth2.get(), &signIn}) {
      EXPECT_THAT(actions(*policy, request, makeResponse(408)), ElementsAre("retry 1", "back"));
      EXPECT_THAT(actions(*policy, request, makeResponse(429)), ElementsAre("retry 1", "retry 2", "retry 4", "back"));
      EXPECT_THAT(actions(*policy, request, makeResponse(503)), ElementsAre("retry 0", "retry 1", "retry 2", "back"));
      EXPECT_THAT(actions(*policy, request, noConnection), ElementsAre("retry 0", "retry 1", "retry 2", "error"));
      for (const int status : {200, 204, 301, 400, 403, 404, 600}) {
        EXPECT_THAT(actions(*policy, request, makeResponse(status)), ElementsAre("back"));
      }
    }
    EXPECT_THAT(actions(loose, request, makeResponse(401)), ElementsAre("back"));
    EXPECT_THAT(actions(*oauth2, request, makeResponse(401)), ElementsAre("refresh 0", "back"));
    EXPECT_THAT(actions(signIn, request, makeResponse(401, R"({"message":"wrong password"})")), ElementsAre("back"));
    for (const auto* body : {"", "not json", R"({"error":"x"})", R"({"message":"user_not_authorized"})"}) {
      EXPECT_THAT(actions(signIn, request, makeResponse(401, body)), ElementsAre("refresh 0", "back")) << body;
    }
  }
  EXPECT_EQ(looseManager->size() + ownManager->size(), 0U);
}

TEST(RetryProgressionManager, CountsByIdentityOrElseByValueAndStaysExhausted) {
  RetryProgressionManagerImpl manager;
  const auto next = [&](const URLRequest& request) {
    return manager.nextRetryDescription(request, [] { return RetryProgression{0.0, 3.0}; });
  };
  URLRequest plain(HTTPMethod::get, *URL::make("https://h.test/"));
  URLRequest called = plain;
  called.identity = std::make_shared<RequestIdentity>();
  URLRequest resigned = called;
  resigned.headers.set(HTTPHeaderName::authorization, "Bearer new");

  EXPECT_EQ(next(plain), (RetryDescriptor{1, 0}));
  EXPECT_EQ(next(URLRequest(plain)), (RetryDescriptor{2, 3}));
  EXPECT_EQ(next(plain), std::nullopt);
  EXPECT_EQ(next(plain), std::nullopt);
  EXPECT_EQ(next(called), (RetryDescriptor{1, 0}));
  EXPECT_EQ(next(resigned), (RetryDescriptor{2, 3}));
  manager.resetRetryProgression(plain);
  EXPECT_EQ(next(plain), (RetryDescriptor{1, 0}));
  EXPECT_EQ(manager.size(), 2U);

  // What belongs to a call that has ended, or is forgotten, goes with the next access.
  called.identity->end();
  URLRequest forgotten = plain;
  forgotten.identity = std::make_shared<RequestIdentity>();
  EXPECT_EQ(next(forgotten), (RetryDescriptor{1, 0}));
  EXPECT_EQ(manager.size(), 2U);
  forgotten.identity.reset();
  EXPECT_EQ(next(forgotten), (RetryDescriptor{2, 3}));
  EXPECT_EQ(manager.size(), 1U);
}

TEST(Stack, RefreshesAndSendsOnceMoreWhenUnauthorized) {
  // Always 401 for the thing, a new pair from the token endpoint.
  int refreshes = 0;
  StackFixture stack(std::make_shared<ScriptedURLSession>([&](const URLRequest& request, std::size_t) {
    const bool isToken = request.url->path() == "/v4/api/oauth2/token";
    return Task<NetworkResponse>::success(isToken ? tokenResponse(std::to_string(++refreshes + 1)) : makeResponse(401));
  }));
  const auto network = stack.builder.oauth2NetworkService();
  const auto first = network->authorizeAndLoad(stack.request());
  EXPECT_EQ(stack.await(first)->statusCode, 401);
  EXPECT_EQ(stack.await(network->authorizeAndLoad(stack.request()))->statusCode, 401);

  std::vector<std::string> sent;
  for (const auto& request : stack.session->requests()) sent.push_back(header(request, HTTPHeaderName::authorization));
  EXPECT_THAT(sent, ElementsAre("Bearer access-1", "(none)", "Bearer access-2", "Bearer access-2", "(none)",
                                "Bearer access-3"));
}

TEST(Stack, UnauthorizedAnswersThatComeLateShareTheRefreshOfTheFirst) {
  std::vector<Promise<NetworkResponse>> pending;
  int refreshes = 0;
  StackFixture stack(std::make_shared<ScriptedURLSession>([&](const URLRequest& request, std::size_t) {
    if (request.url->path() == "/v4/api/oauth2/token") {
      return Task<NetworkResponse>::success(tokenResponse(std::to_string(++refreshes + 1)));
    }
    if (header(request, HTTPHeaderName::authorization) != "Bearer access-1") {
      return Task<NetworkResponse>::success(makeResponse(200));
    }
    return pending.emplace_back().task();
  }));
  std::vector<Task<NetworkResponse>> tasks;
  for (int i = 0; i < 4; ++i) {
    tasks.push_back(stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request()));
  }
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    pending.at(i).complete(makeResponse(401));
    EXPECT_EQ(stack.await(tasks[i])->statusCode, 200);
  }
  EXPECT_EQ(refreshes, 1);
}

TEST(Stack, ATransportErrorAndUnauthorizedStatusesShareTheirProgression) {
  int refreshes = 0;
  StackFixture stack(std::make_shared<ScriptedURLSession>([&](const URLRequest& request, std::size_t position) {
    if (position == 0) return Task<NetworkResponse>::failure(noConnection);
    const bool isToken = request.url->path() == "/v4/api/oauth2/token";
    return Task<NetworkResponse>::success(isToken ? tokenResponse(std::to_string(++refreshes + 1)) : makeResponse(401));
  }));
  EXPECT_EQ(stack.await(stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request()))->statusCode, 401);
  EXPECT_EQ(refreshes, 2);
  EXPECT_EQ(stack.session->requests().size(), 4U + 2U);
}

TEST(Stack, ABoundOfTheWholeCallEndsItAlsoBetweenAttempts) {
  StackFixture stack(std::make_shared<ScriptedURLSession>(
      [](const URLRequest&, std::size_t) { return Task<NetworkResponse>::success(makeResponse(503)); },
      std::chrono::milliseconds(1500)));
  stack.clock->isHeld = true;
  const auto start = stack.clock->steadyNow();
  const auto task = stack.builder.oauth2LooseNetworkService()->authorizeAndLoad(stack.request());
  for (int i = 0; i < 50 && !task.result(); ++i) {
    MainQueue::shared()->drain();
    if (!task.result()) stack.clock->manual.advance(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(stack.await(task).error().as<URLSessionError>()->kind, URLSessionError::Kind::timedOut);
  EXPECT_EQ(stack.clock->steadyNow() - start, std::chrono::milliseconds(1500));
  stack.clock->manual.advance(std::chrono::hours(1));
  MainQueue::shared()->drain();
  EXPECT_EQ(stack.session->requests().size(), 3U);
}

TEST(Stack, AFailedRefreshIsTheCallsErrorAndNothingIsSentAgain) {
  StackFixture stack(ScriptedURLSession::answering({makeResponse(401), makeResponse(400)}));
  std::thread::id answeredOn;
  const auto result =
      stack.await(stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request()).finally([&](const auto&) {
        answeredOn = std::this_thread::get_id();
      }));
  ASSERT_FALSE(result);
  EXPECT_EQ(answeredOn, std::this_thread::get_id());
  EXPECT_EQ(result.error().as<NetworkServiceError>()->serverError()->response.statusCode, 400);
  EXPECT_EQ(stack.session->requests().size(), 2U);
  EXPECT_EQ(stack.store->records().credentials->accessToken, "access-1");
}

TEST(Stack, APlainRetrySendsTheSignedRequestAsItIs) {
  StackFixture stack(ScriptedURLSession::answering({fail(noConnection), makeResponse(500), makeResponse(200)}));
  const auto result = stack.await(stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request()));
  EXPECT_EQ(result->statusCode, 200);
  const auto sent = stack.session->requests();
  ASSERT_EQ(sent.size(), 3U);
  EXPECT_EQ(sent[0], sent[1]);
  EXPECT_EQ(sent[0], sent[2]);
  EXPECT_THAT(stack.delays(), ElementsAre(0.0, 0.0));
}

TEST(Stack, DoesNotTryAgainWhatNoThreadCanServe) {
  const RuntimeError error{RuntimeError::Kind::noThread, "limit"};
  StackFixture stack(ScriptedURLSession::answering({fail(error)}));
  EXPECT_TRUE(stack.await(stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request())).error().is(error));
  EXPECT_EQ(stack.session->requests().size(), 1U);
}

TEST(Stack, EqualRequestsAtOnceDoNotSpendEachOthersAttempts) {
  StackFixture stack(ScriptedURLSession::answering({makeResponse(503)}));
  const auto network = stack.builder.oauth2NetworkService();
  const auto one = network->authorizeAndLoad(stack.request());
  const auto other = network->authorizeAndLoad(stack.request());
  EXPECT_EQ(stack.await(one)->statusCode, 503);
  EXPECT_EQ(stack.await(other)->statusCode, 503);
  EXPECT_EQ(stack.session->requests().size(), 8U);
}

TEST(Stack, ACancelledCallSendsNothingMore) {
  StackFixture stack(ScriptedURLSession::answering({makeResponse(503)}));
  stack.clock->isHeld = true;
  const auto task = stack.builder.oauth2LooseNetworkService()->authorizeAndLoad(stack.request());
  MainQueue::shared()->runUntil([&] { return stack.session->requests().size() == 2; }, std::chrono::seconds(10));
  MainQueue::shared()->drain();
  EXPECT_THAT(stack.delays(), ElementsAre(0.0, 1.0));
  task.cancel();
  stack.clock->manual.advance(std::chrono::seconds(1));
  MainQueue::shared()->drain();
  EXPECT_TRUE(task.result()->error().is(TaskError::cancelled));
  EXPECT_EQ(stack.session->requests().size(), 2U);
}

TEST(Stack, ACancelledCallEndsItsTransfer) {
  Promise<NetworkResponse> transfer;
  bool isTransferCancelled = false;
  transfer.onCancel([&] { isTransferCancelled = true; });
  StackFixture stack(
      std::make_shared<ScriptedURLSession>([&](const URLRequest&, std::size_t) { return transfer.task(); }));
  const auto task = stack.builder.oauth2NetworkService()->authorizeAndLoad(stack.request());
  EXPECT_FALSE(isTransferCancelled);
  task.cancel();
  EXPECT_TRUE(isTransferCancelled);
}

TEST(RequestRetrier, ForgetsACallThatIsCancelledOrLosesItsServiceBeforeItIsSentAgain) {
  struct CountingRefresher final : OAuth2CredentialsRefresher {
    void refreshOAuth2Credentials(Completion<void>) override { ++refreshes; }
    int refreshes = 0;
  };
  const auto manager = std::make_shared<RetryProgressionManagerImpl>();
  const auto clock = std::make_shared<ManualClock>();
  const auto refresher = std::make_shared<CountingRefresher>();
  const auto retrier = std::make_shared<RequestRetrierImpl>(
      std::make_shared<OAuth2RetryPolicy>(LooseRetryPolicy(manager), manager), clock);
  for (const int status : {401, 503}) {
    auto service = NetworkServiceImpl::make(ScriptedURLSession::answering({makeResponse(status)}), nullptr,
                                            MainQueue::shared(), Logger::network);
    retrier->setNetworkService(service);
    retrier->setCredentialsRefresher(refresher);
    service->setRequestRetrier(retrier);
    const URLRequest request(HTTPMethod::get, *URL::make("https://h.test/"));
    const auto cancelled = service->load(request);
    const auto orphaned = service->load(request);
    // And no further, since the delay may be none.
    ASSERT_TRUE(MainQueue::shared()->runUntil([&] { return manager->size() == 2; }, std::chrono::seconds(10)));
    cancelled.cancel();
    manager->resetRetryProgression(request);
    EXPECT_EQ(manager->size(), 1U);
    service.reset();
    clock->advance(std::chrono::seconds(1));
    MainQueue::shared()->drain();
    EXPECT_TRUE(orphaned.result()->error().is(TaskError::cancelled));
    manager->resetRetryProgression(request);
    EXPECT_EQ(manager->size(), 0U);
  }
  EXPECT_EQ(refresher->refreshes, 0);
}

}  // namespace
}  // namespace lx
