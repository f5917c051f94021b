#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace lx {

/// Base64 of RFC 4648, section 4, with padding.
std::string base64EncodedString(std::span<const std::byte> bytes);

/// The alphabet that is safe in URLs and file names (RFC 4648, section 5), without padding.
std::string urlSafeBase64EncodedString(std::span<const std::byte> bytes);

}  // namespace lx
