#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgressionManager.h"

#include <algorithm>

namespace lx {

bool RetryProgressionManagerImpl::Entry::isOf(const URLRequest& other) const {
  return other.identity ? request.identity == other.identity : !request.identity && request == other;
}

template <class Predicate>
void RetryProgressionManagerImpl::eraseIf(const Predicate& isMeant) {
  if (size_ == 0) return;
  threadSafeAccessQueue_->sync([&] {
    std::erase_if(mapping_, isMeant);
    size_ = mapping_.size();
  });
}

void RetryProgressionManagerImpl::resetRetryProgression(const URLRequest& request) {
  eraseIf([&](const Entry& entry) { return entry.isOf(request); });
}

void RetryProgressionManagerImpl::forget(const RequestIdentity& identity) {
  eraseIf([&](const Entry& entry) { return entry.request.identity.get() == &identity; });
}

std::optional<RetryDescriptor> RetryProgressionManagerImpl::nextRetryDescription(
    const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) {
  std::optional<RetryDescriptor> descriptor;
  threadSafeAccessQueue_->sync([&] {
    auto found = std::ranges::find_if(mapping_, [&](const Entry& entry) { return entry.isOf(request); });
    if (found == mapping_.end()) found = mapping_.insert(mapping_.end(), {request, newProgressionFactory()});
    size_ = mapping_.size();
    descriptor = found->progression.next();
  });
  return descriptor;
}

}  // namespace lx
