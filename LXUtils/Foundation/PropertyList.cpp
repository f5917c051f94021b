#include "LXUtils/Foundation/PropertyList.h"

#include <cstdlib>

#include <plist/plist.h>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/PropertyListInternal.h"
#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

using Kind = PropertyListError::Kind;

// libplist frees a list by recursion. Counting all dictionaries and lists bounds the depth too, and cannot be misled by
// closing tags inside comments.
constexpr std::size_t maximumContainers = 4096;

std::optional<Kind> faultOfXML(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF") || text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) {
    return Kind::unsupportedEncoding;
  }
  if (text.find('\0') != text.npos || !isValidUTF8(text)) return Kind::unsupportedEncoding;
  std::size_t containers = 0;
  for (const std::string_view tag : {"<dict", "<array"}) {
    for (auto at = text.find(tag); at != text.npos; at = text.find(tag, at + tag.size())) ++containers;
  }
  return containers > maximumContainers ? std::optional(Kind::tooComplex) : std::nullopt;
}

}  // namespace

std::string PropertyListError::typeName() const {
  switch (kind) {
    case Kind::invalid:
      return "PropertyListError.invalid";
    case Kind::unsupportedEncoding:
      return "PropertyListError.unsupportedEncoding";
    case Kind::tooLarge:
      return "PropertyListError.tooLarge";
    case Kind::tooComplex:
      return "PropertyListError.tooComplex";
  }
  return "PropertyListError";
}

std::string PropertyListError::description() const {
  switch (kind) {
    case Kind::invalid:
      return "The bytes are not a property list.";
    case Kind::unsupportedEncoding:
      return "The property list is not UTF-8 without a byte order mark.";
    case Kind::tooLarge:
      return "The property list is too large.";
    case Kind::tooComplex:
      return "The property list is nested too deeply or holds too much.";
  }
  return {};
}

Result<PropertyList> PropertyList::parse(std::span<const std::byte> bytes) {
  if (bytes.size() > maximumSize) return fail(PropertyListError{Kind::tooLarge});
  const auto text = textView(bytes);
  const auto size = static_cast<std::uint32_t>(text.size());
  const bool binary = text.starts_with("bplist00");
  const auto fault = binary ? faultOfBinaryPropertyList(bytes) : faultOfXML(text);
  if (fault) return fail(PropertyListError{*fault});
  plist_t root = nullptr;
  if (binary) {
    plist_from_bin(text.data(), size, &root);
  } else {
    plist_from_xml(text.data(), size, &root);
  }
  if (!root) return fail(PropertyListError{Kind::invalid});
  return PropertyList(std::shared_ptr<void>(root, plist_free));
}

bool PropertyList::isDictionary() const { return PLIST_IS_DICT(node_.get()); }

std::optional<std::string> PropertyList::string() const {
  if (!PLIST_IS_STRING(node_.get())) return std::nullopt;
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node_.get(), &length);
  if (!text) return std::nullopt;
  const std::string_view view(text, length);
  return isValidUTF8(view) ? std::optional(std::string(view)) : std::nullopt;
}

std::optional<PropertyList> PropertyList::value(const std::string& key) const {
  if (!isDictionary()) return std::nullopt;
  plist_t item = plist_dict_get_item(node_.get(), key.c_str());
  return item ? std::optional(PropertyList(std::shared_ptr<void>(node_, item))) : std::nullopt;
}

std::optional<std::string> PropertyList::string(const std::string& key) const {
  const auto item = value(key);
  return item ? item->string() : std::nullopt;
}

std::optional<PropertyList> PropertyList::dictionary(const std::string& key) const {
  auto item = value(key);
  return item && item->isDictionary() ? item : std::nullopt;
}

std::optional<PropertyList> PropertyList::array(const std::string& key) const {
  auto item = value(key);
  return item && PLIST_IS_ARRAY(item->node_.get()) ? item : std::nullopt;
}

std::optional<std::vector<std::string>> PropertyList::stringList(const std::string& key) const {
  const auto list = array(key);
  if (!list) return std::nullopt;
  std::vector<std::string> strings;
  for (const auto& element : list->elements()) {
    auto text = element.string();
    if (!text) return std::nullopt;
    strings.push_back(*std::move(text));
  }
  return strings;
}

std::vector<PropertyList> PropertyList::elements() const {
  std::vector<PropertyList> elements;
  if (!PLIST_IS_ARRAY(node_.get())) return elements;
  // By iterator, since the lookup by index walks the list from its beginning.
  plist_array_iter iterator = nullptr;
  plist_array_new_iter(node_.get(), &iterator);
  const std::unique_ptr<void, decltype(&std::free)> owner(iterator, std::free);
  plist_t item = nullptr;
  for (plist_array_next_item(node_.get(), iterator, &item); item; plist_array_next_item(node_.get(), iterator, &item)) {
    elements.push_back(PropertyList(std::shared_ptr<void>(node_, item)));
  }
  return elements;
}

}  // namespace lx
