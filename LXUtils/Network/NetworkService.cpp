#include "LXUtils/Network/NetworkService.h"

#include <utility>

namespace lx {

Task<Data> NetworkService::authorizeAndLoadBody(URLRequest request) {
  return authorizeAndLoad(std::move(request)).decode(analyzeNetworkResponse()).decode(&decodeData);
}

Task<void> NetworkService::authorizeAndLoadVoid(URLRequest request) {
  return authorizeAndLoad(std::move(request)).decode(analyzeNetworkResponse()).map([](const NetworkResponse&) {});
}

}  // namespace lx
