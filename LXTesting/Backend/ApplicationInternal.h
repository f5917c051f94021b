#pragma once

#include "LXTesting/Backend/FaultPlayerInternal.h"
#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/WorldInternal.h"
#include "LXTesting/DevBackend.h"
#include "LXTesting/Journal.h"

namespace lx::backend {

/// What answers the requests: journal, faults and routes, in this order.
class Application {
 public:
  Application(std::shared_ptr<Clock> clock, DevBackendOptions options);
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  std::optional<ServerResponse> answer(const ServerRequest& request, Wire& wire);

  Result<std::string> issueCode(const std::string& codeChallenge, const std::string& user);
  Result<DevCredentials> mintCredentials(const std::string& user);

  World& world() { return world_; }
  FaultQueue& faults() { return faults_; }
  Journal& journal() { return journal_; }

 private:
  const std::shared_ptr<Clock> clock_;
  const Clock::SteadyTime start_;
  World world_;
  FaultQueue faults_;
  Journal journal_;
  Router router_;
  Router control_;
};

/// The paths by which other processes steer the backend.
void addControlRoutes(Router& router, Application& application);

}  // namespace lx::backend
