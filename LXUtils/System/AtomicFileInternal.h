#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/System/FileDescriptorInternal.h"

namespace lx {

/// Why a small file could not be read or replaced.
struct AtomicFileError {
  enum class Kind {
    unreadable,
    tooLarge,
    unwritable,
    busy,  ///< another process keeps the files locked for too long
  };
  Kind kind = Kind::unreadable;
  std::string file;     ///< its name without the folder
  int systemError = 0;  ///< errno

  std::string typeName() const;
  std::string description() const;
  bool operator==(const AtomicFileError&) const = default;
};

/// A small private file that any process replaces as a whole: a reader finds the old text or the new, also after a
/// crash or a loss of power. Any thread.
///
/// A new text is written into a draft, a file beside this one, which then takes its name. A draft is locked by its
/// writer: a process that can lock a draft knows that its writer is dead.
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

  /// A text that has not been published yet. Destroying a draft removes it from the disk.
  class Draft {
   public:
    Draft(Draft&& other) noexcept;
    Draft& operator=(Draft&& other) = delete;
    ~Draft();

    /// Writes the text, and returns when it is on the disk. Errors: AtomicFileError unwritable; the draft then holds no
    /// whole text.
    Result<void> write(std::string_view text);

    /// The text, as far as the draft's writer got. Errors: AtomicFileError unreadable, tooLarge.
    Result<std::string> read() const;

    /// Gives the draft the file's name. `AtomicFile::sync` makes that lasting. Errors: AtomicFileError unwritable; the
    /// file is as it was.
    Result<void> publish();

    /// Leaves the draft on the disk when it is destroyed, for `abandonedDrafts`.
    void abandon() { path_.clear(); }

   private:
    friend class AtomicFile;
    Draft(const AtomicFile& target, FileDescriptor file, std::string path);

    const AtomicFile& target_;
    FileDescriptor file_;
    std::string path_;  // empty once the draft is published or abandoned
  };

  /// A new draft. `reservedSize` bytes are reserved on the disk, so that a text of that size can be written later.
  /// Errors: AtomicFileError unwritable.
  Result<Draft> makeDraft(std::size_t reservedSize) const;

  /// The drafts whose writers are dead.
  std::vector<Draft> abandonedDrafts() const;

  /// Makes a draft of the text, publishes it, and returns when it is in place, on the disk, with mode 0600. Removes the
  /// abandoned drafts. Errors: AtomicFileError unwritable; the file is as it was then, unless the disk itself failed.
  Result<void> replace(std::string_view text) const;

  /// Removes the file and all drafts, those of living writers, too. Has no effect if there are none. Goes on past what
  /// cannot be removed. Errors: AtomicFileError unwritable.
  Result<void> remove() const;

  /// Returns when what was published or removed before is on the disk. Errors: AtomicFileError unwritable.
  Result<void> sync() const;

 private:
  std::unexpected<Error> failure(AtomicFileError::Kind kind, int systemError) const;
  std::vector<std::string> draftPaths() const;

  std::string folder_;
  std::string name_;
  std::string path_;
  std::size_t maximumSize_;
};

}  // namespace lx
