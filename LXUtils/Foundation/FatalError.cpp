#include "LXUtils/Foundation/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace lx {

void fatalError(std::string_view message) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  std::abort();
}

}  // namespace lx
