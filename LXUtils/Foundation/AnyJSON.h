#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// Any JSON value, owned: for what has no record. Members are ordered by their keys; of equal keys the last counts.
struct AnyJSON {
  using Null = std::monostate;
  using Array = std::vector<AnyJSON>;
  using Object = std::map<std::string, AnyJSON>;

  /// Whole numbers within the range are std::int64_t, however they were spelt; all others are double.
  std::variant<Null, bool, std::int64_t, double, std::string, Array, Object> value;

  bool operator==(const AnyJSON& other) const;
};

template <>
struct Coding<AnyJSON> {
  static Decoded<AnyJSON> decode(JSONValue value);
  static void encode(JSONWriter& writer, const AnyJSON& any);
};

}  // namespace lx
