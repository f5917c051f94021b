#include "LXServices/Services/NetworkServicesOAuth2/Core/HeadersProviderOAuth2.h"

#include <utility>

namespace lx {

HeadersProviderOAuth2Impl::HeadersProviderOAuth2Impl(std::shared_ptr<const AppService> appService,
                                                     std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                                     std::optional<std::string> lexiconiaEnrollmentToken)
    : headers_(std::move(appService), std::move(backendEnvironment), std::move(lexiconiaEnrollmentToken)) {}

HTTPHeaders HeadersProviderOAuth2Impl::commonHeaders() const {
  HTTPHeaders headers = headers_.common();
  headers_.attachEnrollment(headers);
  return headers;
}

}  // namespace lx
