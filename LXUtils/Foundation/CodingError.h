#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>

namespace lx {

/// What is wrong with a value that was to be read.
enum class DecodingFault : std::uint8_t {
  missing,       ///< a required key is absent
  typeMismatch,  ///< a value of another kind, null included
  outOfRange,    ///< a number that the type cannot hold, or a document beyond its limits
  malformed,     ///< text that does not follow its grammar, or that is none of the known values
};

/// A decoded value or what is wrong with it.
template <class T>
using Decoded = std::expected<T, DecodingFault>;

/// A text could not be read as the value it should hold. Neither the path nor the description ever shows a value.
struct DecodingError {
  /// Keys from the outside in, such as "token_response.expires_in" or "groups[3]"; members of a map are numbered like
  /// elements. "byte 17" for a text that is no JSON, empty for the value as a whole.
  std::string path;
  DecodingFault fault = DecodingFault::malformed;

  std::string typeName() const;
  std::string description() const;
  bool operator==(const DecodingError&) const = default;
};

/// What is wrong with a value that was to be written.
enum class EncodingFault : std::uint8_t {
  notUTF8,    ///< text or a key that is not UTF-8
  notFinite,  ///< infinity or not a number
};

/// A value could not be written. Neither the path nor the description ever shows a value.
struct EncodingError {
  std::string path;  ///< as for DecodingError
  EncodingFault fault = EncodingFault::notUTF8;

  std::string typeName() const;
  std::string description() const;
  bool operator==(const EncodingError&) const = default;
};

/// Puts a key or an element's index in front of a path, while the failure unwinds.
void prependKey(std::string& path, std::string_view key);
void prependIndex(std::string& path, std::size_t index);

}  // namespace lx
