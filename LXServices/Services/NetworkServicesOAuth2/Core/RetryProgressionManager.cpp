#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgressionManager.h"

#include <algorithm>
#include <string>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Digest.h"

namespace lx {

// Neither a URL nor a header holds a NUL, so that the parts cannot run into each other.
RetryProgressionManagerImpl::ValueDigest RetryProgressionManagerImpl::digestOf(const URLRequest& request) {
  std::string text(rawValue(request.method));
  const auto append = [&](std::string_view part) { text.append(1, '\0').append(part); };
  append(request.url ? request.url->string() : "");
  append(request.timeout ? std::to_string(request.timeout->count()) : "");
  for (const auto& [name, value] : request.headers.fields()) {
    append(name);
    append(value);
  }
  append(request.body ? "body" : "");
  if (request.body) text.append(textView(*request.body));
  return sha256(dataOf(text));
}

bool RetryProgressionManagerImpl::Entry::hasEnded() const {
  const auto* identity = std::get_if<std::weak_ptr<const RequestIdentity>>(&key);
  if (!identity) return false;
  const auto alive = identity->lock();
  return !alive || alive->hasEnded();
}

bool RetryProgressionManagerImpl::Entry::isOf(const URLRequest& request) const {
  if (const auto* identity = std::get_if<std::weak_ptr<const RequestIdentity>>(&key)) {
    return identity->lock() == request.identity;
  }
  return !request.identity && std::get<ValueDigest>(key) == digestOf(request);
}

void RetryProgressionManagerImpl::resetRetryProgression(const URLRequest& request) {
  if (isEmpty_) return;
  threadSafeAccessQueue_->sync([&] {
    std::erase_if(mapping_, [&](const Entry& entry) { return entry.hasEnded() || entry.isOf(request); });
    isEmpty_ = mapping_.empty();
  });
}

std::optional<RetryDescriptor> RetryProgressionManagerImpl::nextRetryDescription(
    const URLRequest& request, const std::function<RetryProgression()>& newProgressionFactory) {
  std::optional<RetryDescriptor> descriptor;
  threadSafeAccessQueue_->sync([&] {
    std::erase_if(mapping_, [](const Entry& entry) { return entry.hasEnded(); });
    auto found = std::ranges::find_if(mapping_, [&](const Entry& entry) { return entry.isOf(request); });
    if (found == mapping_.end()) {
      Entry entry{digestOf(request), newProgressionFactory()};
      if (request.identity) entry.key = std::weak_ptr<const RequestIdentity>(request.identity);
      found = mapping_.insert(mapping_.end(), std::move(entry));
    }
    isEmpty_ = false;
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
