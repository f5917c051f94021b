#pragma once

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthServerErrorInfo.h"
#include "LXUtils/Network/NetworkResponseAnalysis.h"

namespace lx {

/// The stage that lets a successful response of an auth endpoint pass and turns any other into a
/// NetworkServiceError::ServerError, with an AuthServerErrorInfo when the body holds one.
std::function<Result<NetworkResponse>(const NetworkResponse&)> analyzeAuthResponse();

}  // namespace lx
