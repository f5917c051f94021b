#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why bytes are not taken as a property list.
struct PropertyListError {
  enum class Kind {
    invalid,              ///< neither a well-formed XML nor a well-formed binary property list
    unsupportedEncoding,  ///< XML that is not plain UTF-8: a byte order mark, UTF-16, or malformed text
    tooLarge,             ///< more bytes than PropertyList::maximumSize
    tooComplex,           ///< more dictionaries and lists, deeper nesting, or more content when expanded, than is read
  };
  Kind kind = Kind::invalid;

  std::string typeName() const;
  std::string description() const;
  bool operator==(const PropertyListError&) const = default;
};

/// A value of a property list: a dictionary, a list or something simpler. Copies share the list, which never changes.
///
/// Lookups are typed: what is there but of another type counts as missing, and so does text that is not UTF-8.
class PropertyList {
 public:
  static constexpr std::size_t maximumSize = std::size_t{4} << 20;

  /// Reads an XML or a binary property list. Errors: PropertyListError.
  static Result<PropertyList> parse(std::span<const std::byte> bytes);

  bool isDictionary() const;

  /// This value's text; nothing when it is no string.
  std::optional<std::string> string() const;

  /// The value under a key of a dictionary, of whatever type; nothing when this is no dictionary.
  std::optional<PropertyList> value(const std::string& key) const;

  std::optional<std::string> string(const std::string& key) const;
  std::optional<PropertyList> dictionary(const std::string& key) const;
  std::optional<PropertyList> array(const std::string& key) const;

  /// The list of strings under a key; missing when one of its elements is something else.
  std::optional<std::vector<std::string>> stringList(const std::string& key) const;

  /// The elements of a list; empty when this is none.
  std::vector<PropertyList> elements() const;

 private:
  explicit PropertyList(std::shared_ptr<void> node) : node_(std::move(node)) {}

  std::shared_ptr<void> node_;  ///< shares the ownership of the whole list
};

}  // namespace lx
