#include "LXTesting/Backend/SettingsStoreInternal.h"

namespace lx::backend {

namespace {

void mergeInto(json::object& target, const json::object& update) {
  for (const auto& member : update) {
    auto& place = target[member.key()];
    if (place.is_object() && member.value().is_object()) {
      mergeInto(place.get_object(), member.value().get_object());
    } else {
      place = member.value();
    }
  }
}

}  // namespace

json::object SettingsStore::get(const std::string& userID, const std::string& resource,
                                const json::object& initial) const {
  return objects_.withLock([&](const auto& objects) {
    const auto found = objects.find(Key(userID, resource));
    return found == objects.end() ? initial : found->second;
  });
}

void SettingsStore::merge(const std::string& userID, const std::string& resource, const json::object& initial,
                          const json::object& update) {
  objects_.withLock([&](auto& objects) {
    const auto place = objects.try_emplace(Key(userID, resource), initial).first;
    mergeInto(place->second, update);
  });
}

}  // namespace lx::backend
