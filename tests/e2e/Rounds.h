#pragma once

#include <cstdlib>

namespace lx {

/// How many rounds a test of random moments plays: `usual`, or what the environment variable LX_ROUNDS says.
inline int rounds(int usual) {
  const char* const asked = std::getenv("LX_ROUNDS");
  return asked ? std::atoi(asked) : usual;
}

}  // namespace lx
