#include "LXUtils/Network/CurlURLSession.h"

#include "LXUtils/Network/CurlEngineInternal.h"
#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {

Result<std::shared_ptr<URLSession>> CurlURLSession::make(URLSessionConfiguration configuration) {
  if (const auto valid = configuration.validate(); !valid) return fail(valid.error());
  const auto callTimeout = configuration.callTimeout;
  return std::shared_ptr<URLSession>(
      new CurlURLSession(std::make_shared<CurlEngine>(std::move(configuration)), callTimeout));
}

CurlURLSession::CurlURLSession(std::shared_ptr<CurlEngine> engine, std::optional<std::chrono::milliseconds> callTimeout)
    : engine_(std::move(engine)), callTimeout_(callTimeout) {}

CurlURLSession::~CurlURLSession() { engine_->close(); }

Task<NetworkResponse> CurlURLSession::send(URLRequest request) {
  if (!request.url || !isSendable(*request.url)) {
    return Task<NetworkResponse>::failure(
        URLSessionError{URLSessionError::Kind::invalidRequest, "no absolute http or https URL"});
  }
  return engine_->send(std::move(request));
}

}  // namespace lx
