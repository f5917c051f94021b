#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "LXTesting/Backend/CertificateAuthorityInternal.h"
#include "LXTesting/DevBackendError.h"

namespace lx::backend {

Result<CAFile> CAFile::write(const std::string& pem, const std::string& path) {
  std::error_code ignored;
  const auto folder = std::filesystem::temp_directory_path(ignored);
  std::string name = path.empty() ? (folder / "lx-ca-XXXXXX").string() : path;
  const int file = path.empty() ? ::mkostemp(name.data(), O_CLOEXEC)
                                : ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) {
    return fail(DevBackendError{DevBackendError::Kind::caFile, name + ": " + std::strerror(errno)});
  }
  CAFile result(std::move(name), path.empty());
  const bool written = ::fchmod(file, S_IRUSR | S_IWUSR) == 0 &&
                       ::write(file, pem.data(), pem.size()) == static_cast<ssize_t>(pem.size());
  const bool closed = ::close(file) == 0;
  if (!written || !closed) {
    return fail(DevBackendError{DevBackendError::Kind::caFile, result.path_ + ": " + std::strerror(errno)});
  }
  return result;
}

CAFile::CAFile(CAFile&& other) noexcept
    : path_(std::move(other.path_)), temporary_(std::exchange(other.temporary_, false)) {}

CAFile& CAFile::operator=(CAFile&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(temporary_, other.temporary_);
  return *this;
}

CAFile::~CAFile() {
  if (temporary_) ::unlink(path_.c_str());
}

}  // namespace lx::backend
