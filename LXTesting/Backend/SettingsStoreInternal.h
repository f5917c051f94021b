#pragma once

#include <map>
#include <string>
#include <utility>

#include "LXTesting/Backend/JSONInternal.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx::backend {

/// One JSON object for each user and resource. Thread-safe.
class SettingsStore {
 public:
  /// What the user has, `initial` where nothing was written yet.
  json::object get(const std::string& userID, const std::string& resource, const json::object& initial) const;

  /// Replaces the members that `update` has, those of inner objects one by one, and leaves the others.
  void merge(const std::string& userID, const std::string& resource, const json::object& initial,
             const json::object& update);

 private:
  using Key = std::pair<std::string, std::string>;

  Protected<std::map<Key, json::object>> objects_;
};

}  // namespace lx::backend
