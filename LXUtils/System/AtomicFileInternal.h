#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/System/FileDescriptorInternal.h"

namespace lx {

/// Why a small file could not be read or replaced.
struct AtomicFileError {
  enum class Kind { unreadable, tooLarge, unwritable };
  Kind kind = Kind::unreadable;
  std::string file;     ///< its name without the folder
  int systemError = 0;  ///< errno

  std::string typeName() const;
  std::string description() const;
  bool operator==(const AtomicFileError&) const = default;
};

/// A small private file that any process replaces as a whole: a reader finds the old text or the new, also after a
/// crash or a loss of power. Any thread.
class AtomicFile {
 public:
  /// What tells one state of the file from another.
  ///
  /// A replacement is another file that is moved into place, and so has another inode. An inode's number is given out
  /// again once its file is gone, which a system under load does within the grain of the time stamps; the snapshot
  /// therefore holds the file open, and as long as it does no other file gets the number. Time stamps and size are left
  /// to tell that somebody wrote into the file itself, which we never do.
  struct Snapshot {
    FileDescriptor file;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    std::int64_t size = 0;
  };

  struct Reading {
    Snapshot snapshot;
    std::string text;
  };

  /// A text above `maximumSize` bytes is not read.
  AtomicFile(std::string folder, std::string name, std::size_t maximumSize);

  const std::string& name() const { return name_; }

  /// True when the file is still the one of the snapshot. One call of the system.
  bool isStill(const Snapshot& snapshot) const;

  /// Nothing when there is no such file. Errors: AtomicFileError unreadable, tooLarge.
  Result<std::optional<Reading>> read() const;

  /// Returns when the text is in place, on the disk, with mode 0600. Errors: AtomicFileError unwritable; the file is as
  /// it was then, unless the disk itself failed.
  Result<void> replace(std::string_view text) const;

  /// Without effect when there is no such file. Errors: AtomicFileError unwritable.
  Result<void> remove() const;

 private:
  struct Temporary {
    FileDescriptor file;
    std::string path;
  };

  std::unexpected<Error> failure(AtomicFileError::Kind kind, int systemError) const;
  std::optional<Temporary> makeTemporary() const;
  void removeLeftovers() const;
  Result<void> syncFolder() const;

  std::string folder_;
  std::string name_;
  std::string path_;
  std::size_t maximumSize_;
};

}  // namespace lx
