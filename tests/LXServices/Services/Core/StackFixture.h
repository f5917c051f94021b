#pragma once

#include <memory>
#include <string>

#include "LXServices/Environment/BackendDefaultEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2NetworkingBuilder.h"
#include "LXTesting/InMemoryCredentialsStorage.h"
#include "LXTesting/ManualClock.h"
#include "LXTesting/ScriptedURLSession.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Foundation/FileURL.h"

#include "TemporaryFolder.h"

namespace lx {

struct FakeAppService final : AppService {
  std::string clientVersion() const override { return version; }
  std::string containerID() const override { return "container-1"; }
  const BundleSettings& bundleSettings() const override { return settings; }

  std::string version = "1.2.3";
  BundleDefaultSettings settings{{}};
};

/// A clock whose delays are over as soon as they begin, so that a test sees every retry without waiting.
class HurriedClock final : public Clock {
 public:
  Date now() const override { return manual.now(); }
  SteadyTime steadyNow() const override { return manual.steadyNow(); }
  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    delays.withLock([&](auto& all) { all.push_back(std::chrono::duration<double>(delay).count()); });
    auto timer = manual.after(delay, std::move(queue), std::move(work));
    if (!isHeld) manual.advance(delay);
    return timer;
  }

  bool isHeld = false;
  ManualClock manual;
  Protected<std::vector<double>> delays;
};

inline std::shared_ptr<const BackendEnvironment> testEnvironment() {
  return std::make_shared<BackendDefaultEnvironment>(
      BackendDefaultEnvironment::makeOrFail(BackendDomains::mock(), BackendEnvironmentFactory::iOSApp()));
}

/// The whole stack over a scripted transport.
struct StackFixture {
  explicit StackFixture(std::shared_ptr<ScriptedURLSession> scripted, std::optional<std::string> enrollment = {})
      : session(std::move(scripted)),
        builder(app, environment, std::move(enrollment), session, store, *fileURL(folder.file("l")), {}, clock) {
    InMemoryCredentialsStorage::Records records;
    records.credentials = OAuth2Credentials{"access-1", "refresh-1", clock->now() + std::chrono::hours(1)};
    store->setRecords(records);
  }

  template <class T>
  Result<T> await(const Task<T>& task) {
    return MainQueue::shared()->runUntil(task);
  }
  URLRequest request(std::string_view path = "/thing") const {
    return URLRequest(HTTPMethod::get, environment->authServiceURL().appendingPath(path));
  }
  std::vector<double> delays() const {
    return clock->delays.withLock([](const auto& all) { return all; });
  }

  TemporaryFolder folder;
  std::shared_ptr<FakeAppService> app = std::make_shared<FakeAppService>();
  std::shared_ptr<const BackendEnvironment> environment = testEnvironment();
  std::shared_ptr<HurriedClock> clock = std::make_shared<HurriedClock>();
  std::shared_ptr<InMemoryCredentialsStorage> store = std::make_shared<InMemoryCredentialsStorage>();
  std::shared_ptr<ScriptedURLSession> session;
  OAuth2NetworkingBuilderImpl builder;
};

inline std::string bodyText(const URLRequest& request) {
  return request.body ? std::string(textView(*request.body)) : std::string();
}

inline std::string header(const URLRequest& request, HTTPHeaderName name) {
  return std::string(request.headers.value(name).value_or("(none)"));
}

/// The token endpoint's answer with tokens of that name.
inline NetworkResponse tokenResponse(const std::string& name) {
  return makeResponse(200, R"({"access_token":"access-)" + name + R"(","refresh_token":"refresh-)" + name +
                               R"(","expires_in":3600,"device_id":"tdi-1"})");
}

}  // namespace lx
