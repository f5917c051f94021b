#include <utility>

#include <poll.h>

#include "LXUtils/Foundation/ClockInternal.h"
#include "LXUtils/System/AtomicFileInternal.h"
#include "LXUtils/System/FolderLockInternal.h"

namespace lx {
namespace {

std::unexpected<Error> failure(const Error& lockError) {
  const auto* error = lockError.as<FileLockError>();
  return fail(AtomicFileError{AtomicFileError::Kind::unwritable, ".lock", error ? error->systemError : 0});
}

}  // namespace

FolderLock::Guard::~Guard() {
  if (!file_) return;
  // A lock that cannot be released is given up by `unlock` itself.
  const auto released = file_->unlock();
  static_cast<void>(released);
}

FolderLock::FolderLock(const std::string& folder) : path_(folder + "/" + fileName) {}

Result<FolderLock::Guard> FolderLock::acquire() {
  FileLock* file = nullptr;
  {
    const std::lock_guard lock(mutex_);
    if (!file_) {
      auto made = FileLock::make(path_);
      if (!made) return failure(made.error());
      file_ = *std::move(made);
    }
    file = file_.get();
  }
  // Held for a moment only, as a rule: a waiter that looks every millisecond loses little.
  for (const auto end = systemSteadyNow() + bound;; poll(nullptr, 0, 1)) {
    const auto taken = file->try_();
    if (taken) return Guard(*file);
    const auto* error = taken.error().as<FileLockError>();
    if (!error || error->kind != FileLockError::Kind::alreadyLocked) return failure(taken.error());
    if (systemSteadyNow() >= end) return fail(AtomicFileError{AtomicFileError::Kind::busy, fileName, 0});
  }
}

}  // namespace lx
