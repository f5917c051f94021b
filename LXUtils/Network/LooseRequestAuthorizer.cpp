#include "LXUtils/Network/LooseRequestAuthorizer.h"

#include <utility>

namespace lx {

LooseRequestAuthorizer::LooseRequestAuthorizer(std::shared_ptr<const RequestAuthorizerHeadersProvider> credStorage,
                                               Logger logger)
    : credStorage_(std::move(credStorage)), logger_(logger) {}

void LooseRequestAuthorizer::authorize(URLRequest request, Completion<URLRequest> callback) {
  if (!credStorage_->hasAuthHeaders()) {
    logger_.log(0, "Request goes out without the user's authorization", "authorize(request:callback:)");
  }
  request.headers.attach(credStorage_->getHTTPHeaders());
  callback(std::move(request));
}

}  // namespace lx
