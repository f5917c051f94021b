#include "LXUtils/Foundation/HTMLText.h"

namespace lx {

std::string htmlEscaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += static_cast<unsigned char>(c) < ' ' && c != '\t' ? ' ' : c;
    }
  }
  return result;
}

}  // namespace lx
