#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <stdlib.h>

namespace lx {

/// A folder of a test's own, removed with it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lx-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string file(std::string_view name) const { return std::string(path_).append("/").append(name); }

 private:
  std::string path_;
};

}  // namespace lx
