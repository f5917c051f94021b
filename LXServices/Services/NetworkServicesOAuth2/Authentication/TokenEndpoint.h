#pragma once

#include <chrono>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/JSONRequest.h"

namespace lx {

/// A request to the OAuth2 token endpoint, which every grant shares. It times out after 10 seconds, so that a process
/// that holds the group's refresh lock gives it back, with all its retries, before the others stop waiting.
template <class Body>
URLRequest makeTokenRequest(const BackendEnvironment& backendEnvironment, const Body& body) {
  auto request = makeJSONRequest(backendEnvironment.authServiceURL().appendingPath("/v4/api/oauth2/token"), body);
  request.timeout = std::chrono::seconds(10);
  return request;
}

}  // namespace lx
