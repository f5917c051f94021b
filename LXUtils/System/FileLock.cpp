#include "LXUtils/System/FileLock.h"

#include <array>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "LXUtils/System/FileDescriptorInternal.h"

namespace lx {
namespace {

using Kind = FileLockError::Kind;

std::unexpected<Error> systemFailure() { return fail(FileLockError{Kind::system, errno}); }

Result<FileDescriptor> openLockFile(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
  if (!file.isOpen()) return fail(FileLockError{Kind::notOpened, errno});
  struct stat status{};
  if (fstat(file.get(), &status) < 0) return fail(FileLockError{Kind::notOpened, errno});
  if (!S_ISREG(status.st_mode)) return fail(FileLockError{Kind::notOpened, EINVAL});
  return file;
}

bool isFileAt(const std::string& path, const FileDescriptor& file) {
  struct stat opened{};
  struct stat named{};
  return fstat(file.get(), &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

}  // namespace

std::string FileLockError::typeName() const {
  switch (kind) {
    case Kind::alreadyLocked:
      return "FileLockError.alreadyLocked";
    case Kind::notOpened:
      return "FileLockError.notOpened";
    case Kind::notLocked:
      return "FileLockError.notLocked";
    case Kind::system:
      break;
  }
  return "FileLockError.system";
}

std::string FileLockError::description() const {
  const auto reason = [this] { return " (" + std::generic_category().message(systemError) + ")"; };
  switch (kind) {
    case Kind::alreadyLocked:
      return "The file is locked already";
    case Kind::notOpened:
      return "The lock file cannot be opened" + reason();
    case Kind::notLocked:
      return "The file is not locked";
    case Kind::system:
      break;
  }
  return "The lock file cannot be used" + reason();
}

struct FileLock::State {
  std::string path;
  FileDescriptor file;
  std::mutex mutex;
  // flock lets a descriptor lock again what it holds, so that the kernel alone would not keep two users of this object
  // apart.
  bool isHeld = false;
};

FileLock::FileLock(std::unique_ptr<State> state) : state_(std::move(state)) {}

// Closing the descriptor frees the lock, and not that of a parent whose descriptor a forked child shares.
FileLock::~FileLock() = default;

Result<std::unique_ptr<FileLock>> FileLock::make(const std::string& path) {
  auto file = openLockFile(path);
  if (!file) return fail(file.error());
  auto state = std::make_unique<State>();
  state->path = path;
  state->file = std::move(*file);
  return std::unique_ptr<FileLock>(new FileLock(std::move(state)));
}

Result<void> FileLock::try_() {
  const std::lock_guard lock(state_->mutex);
  if (state_->isHeld) return fail(FileLockError{Kind::alreadyLocked});
  while (true) {
    if (!state_->file.isOpen()) {
      auto reopened = openLockFile(state_->path);
      if (!reopened) return fail(reopened.error());
      state_->file = std::move(*reopened);
    }
    if (flock(state_->file.get(), LOCK_EX | LOCK_NB) < 0) {
      return errno == EWOULDBLOCK ? fail(FileLockError{Kind::alreadyLocked}) : systemFailure();
    }
    if (isFileAt(state_->path, state_->file)) {
      state_->isHeld = true;
      return {};
    }
    // The group's folder was cleared. Whoever comes new locks the file that is there now, and so must we. Closing the
    // old one frees its lock.
    state_->file = FileDescriptor();
  }
}

Result<void> FileLock::unlock() {
  const std::lock_guard lock(state_->mutex);
  if (!std::exchange(state_->isHeld, false)) return fail(FileLockError{Kind::notLocked});
  if (flock(state_->file.get(), LOCK_UN) == 0) return {};
  const auto failure = systemFailure();
  // The kernel frees the lock with the descriptor: this process must not lock out all others.
  state_->file = FileDescriptor();
  return failure;
}

Result<std::string> FileLock::contents() const {
  const std::lock_guard lock(state_->mutex);
  std::array<char, maximumContentsSize + 1> buffer{};
  const auto size = pread(state_->file.get(), buffer.data(), buffer.size(), 0);
  if (size < 0) return systemFailure();
  if (static_cast<std::size_t>(size) > maximumContentsSize) return fail(FileLockError{Kind::system, EFBIG});
  return std::string(buffer.data(), static_cast<std::size_t>(size));
}

Result<void> FileLock::setContents(std::string_view text) {
  const std::lock_guard lock(state_->mutex);
  if (!state_->isHeld) return fail(FileLockError{Kind::notLocked});
  if (text.size() > maximumContentsSize) return fail(FileLockError{Kind::system, EFBIG});
  const auto written = pwrite(state_->file.get(), text.data(), text.size(), 0);
  if (written < 0) return systemFailure();
  if (static_cast<std::size_t>(written) < text.size()) return fail(FileLockError{Kind::system, ENOSPC});
  if (ftruncate(state_->file.get(), static_cast<off_t>(text.size())) < 0) return systemFailure();
  return {};
}

}  // namespace lx
