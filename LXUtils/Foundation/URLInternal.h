#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lx {

/// The five components of RFC 3986, section 5.3, and their text.
struct URLParts {
  std::optional<std::string_view> scheme, authority;
  std::string_view path;
  std::optional<std::string_view> query, fragment;

  std::string compose() const;
};

/// The parts of a text by the expression of RFC 3986, appendix B, which takes any text apart.
URLParts splitURL(std::string_view text);

}  // namespace lx
