#include <cstddef>
#include <cstdint>

#include "LXUtils/Foundation/PropertyList.h"

namespace {

/// Uses every lookup on the value and on what it leads to.
void walk(const lx::PropertyList& value, int depth) {
  if (depth == 0) return;
  for (const char* key : {"a", "b", "CFBundleIdentifier", "Lexiconia", "CFBundleDocumentTypes"}) {
    (void)value.string(key);
    (void)value.stringList(key);
    if (const auto child = value.value(key)) walk(*child, depth - 1);
  }
  for (const auto& element : value.elements()) walk(element, depth - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const auto list = lx::PropertyList::parse(std::as_bytes(std::span(data, size)))) walk(*list, 3);
  return 0;
}
