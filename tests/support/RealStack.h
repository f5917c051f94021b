#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "LXServices/Environment/BackendDefaultEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2NetworkingBuilder.h"
#include "LXUtils/Foundation/FileURL.h"
#include "LXUtils/Network/CurlURLSession.h"
#include "LXUtils/Network/URLSessionConfiguration.h"

namespace lx {

struct RealStackApp final : AppService {
  explicit RealStackApp(std::string id) : container(std::move(id)) {}
  std::string clientVersion() const override { return "1.2.3"; }
  std::string containerID() const override { return container; }
  const BundleSettings& bundleSettings() const override { return settings; }

  std::string container;
  BundleDefaultSettings settings{{}};
};

/// Sends over the network within the time that was set last, whatever a request asks for.
class LimitedURLSession final : public URLSession {
 public:
  explicit LimitedURLSession(std::shared_ptr<URLSession> session) : session_(std::move(session)) {}

  Task<NetworkResponse> send(URLRequest request) override {
    request.timeout = limit_.load();
    return session_->send(std::move(request));
  }
  void setLimit(std::chrono::milliseconds limit) { limit_ = limit; }

 private:
  const std::shared_ptr<URLSession> session_;
  std::atomic<std::chrono::milliseconds> limit_{std::chrono::seconds(20)};
};

/// The system's clock with delays a hundredth of what they were asked to be.
class HastyClock final : public Clock {
 public:
  Date now() const override { return system_->now(); }
  SteadyTime steadyNow() const override { return system_->steadyNow(); }
  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    return system_->after(delay / 100, std::move(queue), std::move(work));
  }

 private:
  const std::shared_ptr<Clock> system_ = Clock::system();
};

struct RealStackOptions {
  std::string folder;   ///< of the app group
  std::string address;  ///< of the backend, for every host
  std::string caFile;
  std::string containerID = "container-1";
  std::optional<std::string> enrollmentToken = {};
  OAuth2CredentialsServiceImpl::Waiting waiting = {};
  std::shared_ptr<Clock> clock = Clock::system();
  std::shared_ptr<AuthCredentialsStorage> storage = {};  ///< in the folder's place
};

/// What an app builds, with nothing replaced: one process of a group that talks to a backend over TLS.
struct RealStack {
  explicit RealStack(RealStackOptions options)
      : app(std::make_shared<RealStackApp>(options.containerID)),
        session(std::make_shared<LimitedURLSession>(
            CurlURLSession::make({.maximumBodySize = 64 << 10, .caFile = options.caFile, .connectTo = options.address})
                .value())),
        store(options.storage ? options.storage : *FileCredentialsStorage::make(options.folder)),
        builder(app, environment, options.enrollmentToken, session, store, *fileURL(options.folder + "/refresh.lock"),
                options.waiting, options.clock) {}

  const std::shared_ptr<const BackendEnvironment> environment = std::make_shared<BackendDefaultEnvironment>(
      BackendDefaultEnvironment::makeOrFail(BackendDomains::mock(), BackendEnvironmentFactory::iOSApp()));
  const std::shared_ptr<RealStackApp> app;
  const std::shared_ptr<LimitedURLSession> session;
  const std::shared_ptr<AuthCredentialsStorage> store;
  OAuth2NetworkingBuilderImpl builder;
};

}  // namespace lx
