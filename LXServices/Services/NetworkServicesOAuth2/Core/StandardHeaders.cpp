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
  if (!isComputed_.load(std::memory_order_acquire)) {
    // The app is asked outside of the once-only section: two first requests ask it twice, and one answer is kept.
    HTTPHeaders headers;
    headers.set(HTTPHeaderName::origin, backendEnvironment_->origin());
    headers.set(HTTPHeaderName::clientType, backendEnvironment_->clientType());
    headers.set(HTTPHeaderName::clientVersion, app_->clientVersion());
    headers.set(HTTPHeaderName::containerID, app_->containerID());
    std::call_once(kept_, [&] {
      staticHeaders_ = std::move(headers);
      isComputed_.store(true, std::memory_order_release);
    });
  }
  return staticHeaders_;
}

void StandardHeaders::attachEnrollment(HTTPHeaders& headers) const {
  if (!lexiconiaEnrollmentToken_) return;
  headers.set(HTTPHeaderName::lexiconiaAuthPolicy, HTTPHeaderKnownValues::enrollmentToken(*lexiconiaEnrollmentToken_));
}

}  // namespace lx
