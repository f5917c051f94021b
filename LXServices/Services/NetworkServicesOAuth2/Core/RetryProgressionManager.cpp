#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgressionManager.h"

#include <algorithm>

namespace lx {

std::vector<RetryProgressionManagerImpl::Entry>::iterator RetryProgressionManagerImpl::find(const URLRequest& request) {
  return std::find_if(mapping_.begin(), mapping_.end(), [&](const Entry& entry) {
    return request.identity ? entry.request.identity == request.identity
                            : !entry.request.identity && entry.request == request;
  });
}

void RetryProgressionManagerImpl::resetRetryProgression(const URLRequest& request) {
  threadSafeAccessQueue_->sync([&] {
    if (const auto found = find(request); found != mapping_.end()) mapping_.erase(found);
  });
}

std::optional<RetryDescriptor> RetryProgressionManagerImpl::nextRetryDescription(
    const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) {
  std::optional<RetryDescriptor> descriptor;
  threadSafeAccessQueue_->sync([&] {
    auto found = find(request);
    if (found == mapping_.end()) found = mapping_.insert(mapping_.end(), {request, newProgressionFactory()});
    descriptor = found->progression.next();
  });
  return descriptor;
}

std::size_t RetryProgressionManagerImpl::size() const {
  std::size_t size = 0;
  threadSafeAccessQueue_->sync([&] { size = mapping_.size(); });
  return size;
}

}  // namespace lx
