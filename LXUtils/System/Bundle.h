#pragma once

#include <optional>
#include <string>
#include <utility>

#include "LXUtils/Foundation/PropertyList.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// What an app or extension declares of itself in its information property list.
class Bundle {
 public:
  /// Reads the information property list at `path`. Errors: FileError, PropertyListError.
  static Result<Bundle> fromFile(const std::string& path);

  /// The bundle of a property list, which has no information dictionary when the list is none.
  explicit Bundle(PropertyList information) : information_(std::move(information)) {}

  /// The top-level dictionary.
  std::optional<PropertyList> infoDictionary() const {
    return information_.isDictionary() ? std::optional(information_) : std::nullopt;
  }

 private:
  PropertyList information_;
};

}  // namespace lx
