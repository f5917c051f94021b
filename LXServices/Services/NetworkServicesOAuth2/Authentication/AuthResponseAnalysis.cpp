#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthResponseAnalysis.h"

namespace lx {

std::function<Result<NetworkResponse>(const NetworkResponse&)> analyzeAuthResponse() {
  return analyzeNetworkResponse(errorInfoDecoder<AuthServerErrorInfo>());
}

}  // namespace lx
