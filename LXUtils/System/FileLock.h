#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why a lock on a file could not be made, taken or given back.
struct FileLockError {
  enum class Kind {
    alreadyLocked,  ///< held by another process, or by another user of this lock in this process
    notOpened,      ///< the file could not be opened or created
    notLocked,      ///< the operation needs the lock, and this object does not hold it
    system,         ///< any other fault
  };
  Kind kind = Kind::system;
  int systemError = 0;  ///< errno, where the system refused

  std::string typeName() const;
  std::string description() const;
  bool operator==(const FileLockError&) const = default;
};

/// An advisory lock on a file that processes share. The kernel frees it when its holder ends, however it ends.
///
/// The file is created with mode 0600 in a folder that must exist, and is never unlinked: a lock on a name that can
/// come to mean another file excludes nobody. A new program that the process starts does not inherit the lock. A bare
/// fork does: the child shares it, so that it stays taken until both have let go of it, and an `unlock` in either frees
/// it for all. A child that does not go on to another program must leave the lock alone.
///
/// All operations may be called from any thread; none waits.
class FileLock {
 public:
  /// The longest text that the file keeps, in bytes.
  static constexpr std::size_t maximumContentsSize = 256;

  /// Opens the file, and creates it if it is missing. Error: FileLockError notOpened.
  static Result<std::unique_ptr<FileLock>> make(const std::string& path);

  /// Lets go of the lock.
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Takes the lock. Errors: FileLockError alreadyLocked (also when this object holds it already), notOpened (the file
  /// was replaced and the new one cannot be opened), system.
  Result<void> try_();

  /// Releases the lock. Errors: FileLockError notLocked, system. Also after an error of the system the lock is free:
  /// its file was closed, and is opened anew by the next `try_`.
  Result<void> unlock();

  /// The small text that the last holder left in the file, empty at first. It is read whoever holds the lock; beside a
  /// writer, that can be a mix of the old text and the new. Errors: FileLockError system.
  Result<std::string> contents() const;

  /// Replaces the text; only the holder may. It outlives the process, though not necessarily a loss of power.
  /// Errors: FileLockError notLocked, system (EFBIG when the text is too long).
  Result<void> setContents(std::string_view text);

 private:
  struct State;
  explicit FileLock(std::unique_ptr<State> state);

  const std::unique_ptr<State> state_;
};

}  // namespace lx
