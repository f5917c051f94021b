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
    case Kind::busy:
      return "AtomicFileError.busy";
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
    case Kind::busy:
      return file + " is kept locked by another process";
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

Result<AtomicFile::Draft> AtomicFile::makeDraft(std::size_t reservedSize) const {
  constexpr int attempts = 8;
  for (int i = 0; i < attempts; ++i) {
    std::string path = folder_ + "/." + name_ + "." + std::string(randomPart);
    FileDescriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (!file.isOpen()) return failure(Kind::unwritable, errno);
    struct stat status{};
    // Another process may have taken it for an abandoned one before it was locked.
    if (!isLocked(file) || fstat(file.get(), &status) < 0 || status.st_nlink == 0) continue;
    Draft draft(*this, std::move(file), std::move(path));
    // The call returns its error. A file system that cannot reserve is not a full one.
    const int reserved =
        reservedSize == 0 ? 0 : posix_fallocate(draft.file_.get(), 0, static_cast<off_t>(reservedSize));
    if (reserved != 0 && reserved != EOPNOTSUPP && reserved != EINVAL) return failure(Kind::unwritable, reserved);
    return draft;
  }
  return failure(Kind::unwritable, EAGAIN);
}

std::vector<std::string> AtomicFile::draftPaths() const {
  std::vector<std::string> paths;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder_.c_str()), closedir);
  if (!entries) return paths;
  const std::string prefix = "." + name_ + ".";
  while (const dirent* const entry = readdir(entries.get())) {
    const std::string_view name = entry->d_name;
    if (name.starts_with(prefix) && name.size() == prefix.size() + randomPart.size()) {
      paths.push_back(std::string(folder_).append("/").append(name));
    }
  }
  return paths;
}

std::vector<AtomicFile::Draft> AtomicFile::abandonedDrafts() const {
  std::vector<Draft> drafts;
  for (auto& path : draftPaths()) {
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat status{};
    // It may have been published, and its name removed, since it was found.
    if (file.isOpen() && isLocked(file) && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
      drafts.push_back(Draft(*this, std::move(file), std::move(path)));
    }
  }
  return drafts;
}

Result<void> AtomicFile::replace(std::string_view text) const {
  abandonedDrafts();  // removes them: they are superseded
  auto draft = makeDraft(0);
  if (!draft) return fail(draft.error());
  if (auto written = draft->write(text); !written) return written;
  if (auto published = draft->publish(); !published) return published;
  return sync();
}

Result<void> AtomicFile::remove() const {
  auto paths = draftPaths();
  paths.insert(paths.begin(), path_);
  int reason = 0;
  for (const auto& path : paths) {
    if (unlink(path.c_str()) < 0 && errno != ENOENT) reason = errno;
  }
  if (reason != 0) return failure(Kind::unwritable, reason);
  return sync();
}

Result<void> AtomicFile::sync() const {
  const FileDescriptor folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen() || fsync(folder.get()) < 0) return failure(Kind::unwritable, errno);
  return {};
}

AtomicFile::Draft::Draft(const AtomicFile& target, FileDescriptor file, std::string path)
    : target_(target), file_(std::move(file)), path_(std::move(path)) {}

AtomicFile::Draft::Draft(Draft&& other) noexcept
    : target_(other.target_), file_(std::move(other.file_)), path_(std::exchange(other.path_, {})) {}

AtomicFile::Draft::~Draft() {
  if (!path_.empty()) unlink(path_.c_str());
}

Result<void> AtomicFile::Draft::write(std::string_view text) {
  // Cut first, so that the text is whole as soon as it is written, should the process be killed then.
  if (ftruncate(file_.get(), static_cast<off_t>(text.size())) < 0 || lseek(file_.get(), 0, SEEK_SET) < 0 ||
      !writeAll(file_, text) || fsync(file_.get()) < 0) {
    return target_.failure(Kind::unwritable, errno);
  }
  return {};
}

Result<std::string> AtomicFile::Draft::read() const {
  std::string text;
  if (lseek(file_.get(), 0, SEEK_SET) < 0 || !readAll(file_, target_.maximumSize_ + 1, text)) {
    return target_.failure(Kind::unreadable, errno);
  }
  if (text.size() > target_.maximumSize_) return target_.failure(Kind::tooLarge, EFBIG);
  return text;
}

Result<void> AtomicFile::Draft::publish() {
  if (rename(path_.c_str(), target_.path_.c_str()) < 0) return target_.failure(Kind::unwritable, errno);
  path_.clear();
  return {};
}

}  // namespace lx
