#pragma once

#include <memory>

#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/NetworkInterfaces.h"

namespace lx {

/// Adds its provider's headers to a request, whatever they prove, and so never fails. Calls back before it returns.
class LooseRequestAuthorizer final : public RequestAuthorizer {
 public:
  LooseRequestAuthorizer(std::shared_ptr<const RequestAuthorizerHeadersProvider> credStorage, Logger logger);

  void authorize(URLRequest request, Completion<URLRequest> callback) override;

 private:
  const std::shared_ptr<const RequestAuthorizerHeadersProvider> credStorage_;
  const Logger logger_;
};

}  // namespace lx
