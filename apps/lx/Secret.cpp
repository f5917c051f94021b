#include "lx/Secret.h"

#include <iostream>

#include "LXUtils/System/FileManager.h"

#include "lx/ToolError.h"

namespace lx::tool {
namespace {

constexpr std::size_t largestSecret = std::size_t{1} << 20;

std::unexpected<Error> failure(const std::string& message) { return fail(ToolError{ToolError::Kind::secret, message}); }

std::string withoutLineEnd(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  return text;
}

}  // namespace

Result<std::string> readSecret(const std::string& given) {
  std::string secret = given;
  if (given == "-") {
    if (!std::getline(std::cin, secret)) return failure("There is no secret on standard input");
    secret = withoutLineEnd(std::move(secret));
  } else if (given.starts_with('@')) {
    const auto file = readFile(given.substr(1), largestSecret);
    if (!file) return failure("The file of the secret cannot be read: " + file.error().description());
    secret = withoutLineEnd(std::string(textView(*file)));
  }
  if (secret.empty()) return failure("The secret is empty");
  return secret;
}

}  // namespace lx::tool
