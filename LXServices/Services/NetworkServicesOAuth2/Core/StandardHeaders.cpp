#include "LXServices/Services/NetworkServicesOAuth2/Core/StandardHeaders.h"

#include <utility>

namespace lx {

StandardHeaders::StandardHeaders(std::shared_ptr<const AppService> appService,
                                 std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                 std::optional<std::string> lexiconiaEnrollmentToken)
    : app_(std::move(appService)),
      backendEnvironment_(std::move(backendEnvironment)),
      lexiconiaEnrollmentToken_(std::move(lexiconiaEnrollmentToken)) {}

const HTTPHeaders& StandardHeaders::common() const {
  std::call_once(computed_, [this] {
    staticHeaders_.set(HTTPHeaderName::origin, backendEnvironment_->origin());
    staticHeaders_.set(HTTPHeaderName::clientType, backendEnvironment_->clientType());
    staticHeaders_.set(HTTPHeaderName::clientVersion, app_->clientVersion());
    staticHeaders_.set(HTTPHeaderName::containerID, app_->containerID());
  });
  return staticHeaders_;
}

void StandardHeaders::attachEnrollment(HTTPHeaders& headers) const {
  if (!lexiconiaEnrollmentToken_) return;
  headers.set(HTTPHeaderName::lexiconiaAuthPolicy, HTTPHeaderKnownValues::enrollmentToken(*lexiconiaEnrollmentToken_));
}

}  // namespace lx
