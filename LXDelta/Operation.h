#pragma once

#include <cstdint>
#include <variant>

#include "LXDelta/Attributes.h"
#include "LXDelta/Content.h"

namespace lx {

/// One step of a Delta.
struct Operation {
  struct Insert {
    Content content;
    Attributes attributes;
    bool operator==(const Insert&) const = default;
  };
  struct Delete {
    std::int64_t length = 0;  ///< UTF-16 code units, not negative; here and in Retain
    bool operator==(const Delete&) const = default;
  };
  struct Retain {
    std::int64_t length = 0;
    Attributes attributes;
    bool operator==(const Retain&) const = default;
  };

  std::variant<Insert, Delete, Retain> value;

  const Insert* asInsert() const { return std::get_if<Insert>(&value); }
  const Delete* asDelete() const { return std::get_if<Delete>(&value); }
  const Retain* asRetain() const { return std::get_if<Retain>(&value); }

  /// In UTF-16 code units.
  std::int64_t length() const;

  bool operator==(const Operation&) const = default;
};

/// a + b, but no further than std::int64_t goes: documents may state any lengths.
std::int64_t addingLengths(std::int64_t a, std::int64_t b);

}  // namespace lx
