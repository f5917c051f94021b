#include "LXUtils/Foundation/CodingError.h"

namespace lx {
namespace {

struct FaultTexts {
  std::string_view name;
  std::string_view text;
};

FaultTexts textsOf(DecodingFault fault) {
  switch (fault) {
    case DecodingFault::missing:
      return {"missing", "missing"};
    case DecodingFault::typeMismatch:
      return {"typeMismatch", "wrong type"};
    case DecodingFault::outOfRange:
      return {"outOfRange", "out of range"};
    case DecodingFault::malformed:
      break;
  }
  return {"malformed", "malformed"};
}

FaultTexts textsOf(EncodingFault fault) {
  switch (fault) {
    case EncodingFault::notFinite:
      return {"notFinite", "not a finite number"};
    case EncodingFault::notUTF8:
      break;
  }
  return {"notUTF8", "not UTF-8"};
}

std::string describe(const std::string& path, std::string_view text) {
  return path.empty() ? std::string(text) : path + ": " + std::string(text);
}

}  // namespace

std::string DecodingError::typeName() const { return "DecodingError." + std::string(textsOf(fault).name); }

std::string DecodingError::description() const { return describe(path, textsOf(fault).text); }

std::string EncodingError::typeName() const { return "EncodingError." + std::string(textsOf(fault).name); }

std::string EncodingError::description() const { return describe(path, textsOf(fault).text); }

void prependKey(std::string& path, std::string_view key) {
  if (!path.empty() && path.front() != '[') path.insert(path.begin(), '.');
  path.insert(0, key);
}

void prependIndex(std::string& path, std::size_t index) {
  if (!path.empty() && path.front() != '[') path.insert(path.begin(), '.');
  std::string text = std::to_string(index);
  text.insert(text.begin(), '[');
  text += ']';
  path.insert(0, text);
}

}  // namespace lx
