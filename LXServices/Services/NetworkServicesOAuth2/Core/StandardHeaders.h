#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/AppService.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {

/// The headers that every request to the backend carries, whichever stack sends it: origin, client type, client version
/// and container identifier, asked for once and then kept, and the enrollment token of a managed installation.
class StandardHeaders {
 public:
  StandardHeaders(std::shared_ptr<const AppService> appService,
                  std::shared_ptr<const BackendEnvironment> backendEnvironment,
                  std::optional<std::string> lexiconiaEnrollmentToken);

  /// The four headers of the client.
  const HTTPHeaders& common() const;

  /// Adds the enrollment header where there is a token.
  void attachEnrollment(HTTPHeaders& headers) const;

 private:
  const std::shared_ptr<const AppService> app_;
  const std::shared_ptr<const BackendEnvironment> backendEnvironment_;
  const std::optional<std::string> lexiconiaEnrollmentToken_;
  mutable std::atomic<bool> isComputed_{false};
  mutable std::once_flag kept_;
  mutable HTTPHeaders staticHeaders_;
};

}  // namespace lx
