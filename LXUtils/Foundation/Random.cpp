#include "LXUtils/Foundation/Random.h"

#include <cerrno>

#include <sys/random.h>

#include "LXUtils/Foundation/FatalError.h"

namespace lx {

Data randomBytes(std::size_t count) {
  Data bytes(count);
  std::size_t filled = 0;
  while (filled < count) {
    const ssize_t got = getrandom(bytes.data() + filled, count - filled, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) fatalError("The system gives no random bytes.");
    filled += static_cast<std::size_t>(got);
  }
  return bytes;
}

std::string randomString(std::size_t length, std::string_view alphabet) {
  if (alphabet.empty() || alphabet.size() > 256) fatalError("An alphabet has 1 to 256 characters.");
  // Bytes at or above the largest multiple of the alphabet's size would favour its first characters.
  const std::size_t limit = 256 - 256 % alphabet.size();
  std::string text;
  text.reserve(length);
  while (text.size() < length) {
    for (const std::byte byte : randomBytes(length - text.size())) {
      const auto value = std::to_integer<std::size_t>(byte);
      if (value < limit) text += alphabet[value % alphabet.size()];
    }
  }
  return text;
}

bool constantTimeEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  // Volatile, so that no compiler ends the loop at the first difference.
  volatile unsigned char difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    difference =
        static_cast<unsigned char>(difference | (static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i])));
  }
  return difference == 0;
}

}  // namespace lx
