#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/System/FileLock.h"

namespace lx {

/// Excludes those who change the files of one folder from each other, in this process and in others. Readers do not
/// need it. Any thread.
class FolderLock {
 public:
  /// Holds the lock until it is destroyed.
  class Guard {
   public:
    explicit Guard(FileLock& file) : file_(&file) {}
    Guard(Guard&& other) noexcept : file_(std::exchange(other.file_, nullptr)) {}
    Guard& operator=(Guard&& other) = delete;
    ~Guard();

   private:
    FileLock* file_;
  };

  /// The lock is a file in `folder`, which is created when the lock is first acquired.
  explicit FolderLock(const std::string& folder);

  /// Waits for the lock, for at most 5 s: a process may be stopped while it holds it. Errors: AtomicFileError busy, and
  /// unwritable if the lock's file cannot be used.
  Result<Guard> acquire();

 private:
  static constexpr const char* fileName = ".lock";
  static constexpr std::chrono::seconds bound{5};

  const std::string path_;
  std::mutex mutex_;
  std::unique_ptr<FileLock> file_;
};

}  // namespace lx
