#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "LXUtils/System/AtomicFileInternal.h"

namespace lx {
namespace {

using Kind = AtomicFileError::Kind;

constexpr std::string_view randomPart = "XXXXXX";

bool writeAll(const FileDescriptor& file, std::string_view text) {
  while (!text.empty()) {
    const auto written = write(file.get(), text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// Reads to the end, but no more than `limit` bytes.
bool readAll(const FileDescriptor& file, std::size_t limit, std::string& text) {
  constexpr std::size_t step = 4096;
  while (text.size() < limit) {
    const std::size_t before = text.size();
    text.resize(std::min(before + step, limit));
    const auto size = ::read(file.get(), text.data() + before, text.size() - before);
    text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (size < 0 && errno != EINTR) return false;
    if (size == 0) break;
  }
  return true;
}

bool isLocked(const FileDescriptor& file) { return flock(file.get(), LOCK_EX | LOCK_NB) == 0; }

}  // namespace

std::string AtomicFileError::typeName() const {
  switch (kind) {
    case Kind::unreadable:
      return "AtomicFileError.unreadable";
    case Kind::tooLarge:
      return "AtomicFileError.tooLarge";
    case Kind::unwritable:
      break;
  }
  return "AtomicFileError.unwritable";
}

std::string AtomicFileError::description() const {
  const auto reason = [this] { return " (" + std::generic_category().message(systemError) + ")"; };
  switch (kind) {
    case Kind::unreadable:
      return file + " cannot be read" + reason();
    case Kind::tooLarge:
      return file + " is too large to be read";
    case Kind::unwritable:
      break;
  }
  return file + " cannot be written" + reason();
}

AtomicFile::AtomicFile(std::string folder, std::string name, std::size_t maximumSize)
    : folder_(std::move(folder)), name_(std::move(name)), path_(folder_ + "/" + name_), maximumSize_(maximumSize) {}

std::unexpected<Error> AtomicFile::failure(Kind kind, int systemError) const {
  return fail(AtomicFileError{kind, name_, systemError});
}

bool AtomicFile::isStill(const Snapshot& snapshot) const {
  struct stat status{};
  return stat(path_.c_str(), &status) == 0 && status.st_ino == snapshot.inode && status.st_dev == snapshot.device &&
         status.st_mtim.tv_nsec == snapshot.nanoseconds && status.st_mtim.tv_sec == snapshot.seconds &&
         status.st_size == snapshot.size;
}

Result<std::optional<AtomicFile::Reading>> AtomicFile::read() const {
  Reading reading;
  Snapshot& snapshot = reading.snapshot;
  snapshot.file = FileDescriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!snapshot.file.isOpen()) {
    if (errno == ENOENT) return std::optional<Reading>();
    return failure(Kind::unreadable, errno);
  }
  struct stat status{};
  if (fstat(snapshot.file.get(), &status) < 0) return failure(Kind::unreadable, errno);
  if (!S_ISREG(status.st_mode)) return failure(Kind::unreadable, EINVAL);
  // Taken before the text, so that a write into the file while it is read shows as a change.
  snapshot.device = status.st_dev;
  snapshot.inode = status.st_ino;
  snapshot.seconds = status.st_mtim.tv_sec;
  snapshot.nanoseconds = status.st_mtim.tv_nsec;
  snapshot.size = status.st_size;
  if (!readAll(snapshot.file, maximumSize_ + 1, reading.text)) return failure(Kind::unreadable, errno);
  if (reading.text.size() > maximumSize_) return failure(Kind::tooLarge, EFBIG);
  return std::optional(std::move(reading));
}

// A temporary file is locked by its writer, so that whoever can lock one knows that its writer is dead.
std::optional<AtomicFile::Temporary> AtomicFile::makeTemporary() const {
  constexpr int attempts = 8;
  for (int i = 0; i < attempts; ++i) {
    std::string path = folder_ + "/." + name_ + "." + std::string(randomPart);
    FileDescriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (!file.isOpen()) return std::nullopt;
    struct stat status{};
    // Another process may have taken it for a leftover before it was locked.
    if (isLocked(file) && fstat(file.get(), &status) == 0 && status.st_nlink > 0) {
      return Temporary{std::move(file), std::move(path)};
    }
  }
  errno = EAGAIN;
  return std::nullopt;
}

// What writers left behind that were killed: it can hold secrets.
void AtomicFile::removeLeftovers() const {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder_.c_str()), closedir);
  if (!entries) return;
  const std::string prefix = "." + name_ + ".";
  while (const dirent* const entry = readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    if (!name.starts_with(prefix) || name.size() != prefix.size() + randomPart.size()) continue;
    const std::string path = folder_ + "/" + entry->d_name;
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (file.isOpen() && isLocked(file)) unlink(path.c_str());
  }
}

Result<void> AtomicFile::syncFolder() const {
  const FileDescriptor folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen() || fsync(folder.get()) < 0) return failure(Kind::unwritable, errno);
  return {};
}

Result<void> AtomicFile::replace(std::string_view text) const {
  removeLeftovers();
  const auto temporary = makeTemporary();
  if (!temporary) return failure(Kind::unwritable, errno);
  if (!writeAll(temporary->file, text) || fsync(temporary->file.get()) < 0 ||
      rename(temporary->path.c_str(), path_.c_str()) < 0) {
    const int reason = errno;
    unlink(temporary->path.c_str());
    return failure(Kind::unwritable, reason);
  }
  return syncFolder();
}

Result<void> AtomicFile::remove() const {
  if (unlink(path_.c_str()) < 0) {
    if (errno == ENOENT) return {};
    return failure(Kind::unwritable, errno);
  }
  return syncFolder();
}

}  // namespace lx
