#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace lx {

std::array<std::byte, 32> sha256(std::span<const std::byte> bytes);

/// For `Content-MD5` (RFC 1864) alone: MD5 protects nothing.
std::array<std::byte, 16> md5(std::span<const std::byte> bytes);

}  // namespace lx
