#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace lx {

/// The halves of an example that is written "this -> that".
inline std::pair<std::string_view, std::string_view> halves(std::string_view example) {
  const auto arrow = example.find(" -> ");
  return {example.substr(0, arrow), example.substr(arrow + 4)};
}

/// `text` with something else in the place of `what`, which must be there.
inline std::string replacing(std::string text, std::string_view what, std::string_view with) {
  const auto at = text.find(what);
  EXPECT_NE(at, text.npos) << what;
  return at == text.npos ? text : text.replace(at, what.size(), with);
}

inline std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

}  // namespace lx
