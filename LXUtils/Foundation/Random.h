#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/Data.h"

namespace lx {

/// The characters of a code verifier and of a state value: the unreserved set of RFC 7636, section 4.1.
inline constexpr std::string_view nonceCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

/// Bytes from the system's generator, fit for secrets. Ends the process when the system has none.
Data randomBytes(std::size_t count);

/// `length` characters, each drawn from `alphabet` (1 to 256 characters) with equal chance and fit for secrets.
std::string randomString(std::size_t length, std::string_view alphabet);

/// True when the texts are equal; the time taken depends on their lengths alone.
bool constantTimeEqual(std::string_view a, std::string_view b);

}  // namespace lx
