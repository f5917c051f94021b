#pragma once

#include <expected>
#include <utility>

#include "LXUtils/Foundation/Error.h"

namespace lx {

/// A value or the error that stands in its place.
template <class T>
using Result = std::expected<T, Error>;

/// The failed result that holds `error`; converts to a Result of any type.
inline std::unexpected<Error> fail(Error error) { return std::unexpected<Error>(std::move(error)); }

}  // namespace lx
