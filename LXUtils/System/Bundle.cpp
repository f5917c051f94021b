#include "LXUtils/System/Bundle.h"

#include "LXUtils/System/FileManager.h"

namespace lx {

Result<Bundle> Bundle::fromFile(const std::string& path) {
  const auto bytes = readFile(path, PropertyList::maximumSize);
  if (!bytes) return fail(bytes.error());
  auto information = PropertyList::parse(*bytes);
  if (!information) return fail(information.error());
  return Bundle(*std::move(information));
}

}  // namespace lx
