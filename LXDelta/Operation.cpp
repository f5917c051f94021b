#include "LXDelta/Operation.h"

#include <limits>

#include "LXUtils/Foundation/Overloaded.h"

namespace lx {

std::int64_t Operation::length() const {
  return std::visit(Overloaded{[](const Insert& insert) { return insert.content.length(); },
                               [](const auto& other) { return other.length; }},
                    value);
}

std::int64_t addingLengths(std::int64_t a, std::int64_t b) {
  using Limits = std::numeric_limits<std::int64_t>;
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return a < 0 ? Limits::min() : Limits::max();
  return sum;
}

}  // namespace lx
