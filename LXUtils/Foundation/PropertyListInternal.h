#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "LXUtils/Foundation/PropertyList.h"

namespace lx {

/// What keeps a binary property list from being given to libplist, if anything does.
///
/// libplist copies an object for every reference to it, so that a small file can grow without bound, and aborts on some
/// keys. This walks the objects first: each must lie inside the file, the references must form no cycle, every key must
/// be text, no text may hold a NUL, and depth and expanded size are bounded.
std::optional<PropertyListError::Kind> faultOfBinaryPropertyList(std::span<const std::byte> bytes);

}  // namespace lx
