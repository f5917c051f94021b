#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Foundation/ClockInternal.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/FolderWatchInternal.h"

namespace lx {
namespace {

constexpr Logger logger("system");

}  // namespace

std::shared_ptr<FolderWatch> FolderWatch::shared() {
  static constinit SharedInstance<FolderWatch> watch;
  // Before the lock: earlier threads are joined there, which may come here on their way out.
  auto runtime = Runtime::shared();
  return watch.get([&] { return std::make_shared<FolderWatch>(std::move(runtime)); });
}

FolderWatch::FolderWatch(std::shared_ptr<Runtime> runtime) : runtime_(std::move(runtime)) {}

FolderWatch::~FolderWatch() {
  if (!inotify_.isOpen()) return;
  // A loop that ends before it comes to this closes the descriptor all the same.
  auto& loop = runtime_->eventLoop();
  loop.perform([&loop, inotify = std::move(inotify_)] { loop.unwatch(inotify.get()); });
}

bool FolderWatch::openInotify() {
  if (inotify_.isOpen()) return true;
  inotify_ = FileDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!inotify_.isOpen()) return false;
  runtime_->eventLoop().perform([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->runtime_->eventLoop().watch(self->inotify_.get(), EPOLLIN, [weak](std::uint32_t) {
      if (const auto alive = weak.lock()) alive->readEvents();
    });
  });
  return true;
}

void FolderWatch::tryToWatch(Entry& entry) {
  mkdir(entry.folder.c_str(), 0700);  // in the usual case it exists; any other fault shows in the watch
  if (openInotify()) {
    entry.watch = inotify_add_watch(inotify_.get(), entry.folder.c_str(), IN_MODIFY | IN_MOVE_SELF | IN_ONLYDIR);
  }
  const bool hasFailed = entry.watch == unwatched;
  if (!std::exchange(entry.hasFailed, hasFailed) && hasFailed) {
    logger.log(3, "Notifications cannot be watched for and are looked for every 100 ms",
               std::generic_category().message(errno), "tryToWatch(_:)");
  }
  if (hasFailed) pollLater();
}

void FolderWatch::add(const std::string& folder, const std::shared_ptr<FolderListener>& listener) {
  if (const auto running = runtime_->start(); !running) {
    logger.log(3, "Notifications are not delivered yet", running.error().description(), "add(folder:listener:)");
    if (runtime_->isInherited()) return;
  }
  const std::lock_guard lock(mutex_);
  entries_.push_back({folder, listener.get(), listener, unwatched});
  tryToWatch(entries_.back());
}

void FolderWatch::remove(const FolderListener* listener) {
  if (runtime_->isInherited()) return;  // the kernel's watches are those of the parent
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(entries_, listener, &Entry::identity);
  if (found == entries_.end()) return;
  const int watch = found->watch;
  entries_.erase(found);
  // The kernel numbers folders, not calls: the next listener to this folder may have come already.
  if (watch != unwatched && std::ranges::find(entries_, watch, &Entry::watch) == entries_.end()) {
    inotify_rm_watch(inotify_.get(), watch);
  }
}

void FolderWatch::readEvents() {
  alignas(inotify_event) std::array<char, std::size_t{16} * 1024> buffer;
  // What does not fit makes the loop call again, after whatever else is ready.
  const auto size = read(inotify_.get(), buffer.data(), buffer.size());
  for (std::size_t offset = 0; size > 0 && offset < static_cast<std::size_t>(size);) {
    const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
    dispatch(event->wd, event->mask, event->len > 0 ? event->name : std::string_view());
    offset += sizeof(inotify_event) + event->len;
  }
}

void FolderWatch::dispatch(int watch, std::uint32_t mask, std::string_view name) {
  const bool isOverflow = (mask & IN_Q_OVERFLOW) != 0;
  const bool isGone = (mask & (IN_IGNORED | IN_MOVE_SELF)) != 0;
  // Released after the lock: this thread may be the last to hold one, which then takes itself off the list.
  Listeners listeners;
  {
    const std::lock_guard lock(mutex_);
    for (auto& entry : entries_) {
      if (entry.watch != watch && !isOverflow) continue;
      if (auto listener = entry.listener.lock()) listeners.push_back(std::move(listener));
      if (isGone) {
        entry.watch = unwatched;
        pollLater();
      }
    }
    // The kernel follows a folder that was moved, while posts go to a new one at its path.
    if ((mask & IN_MOVE_SELF) != 0) inotify_rm_watch(inotify_.get(), watch);
  }
  for (const auto& listener : listeners) {
    if (isOverflow) {
      listener->anyFileMayHaveChanged();
    } else if (isGone) {
      listener->folderIsGone();
    } else if (!name.empty()) {
      listener->fileHasChanged(name);
    }
  }
}

void FolderWatch::pollLater() {
  if (std::exchange(isPolling_, true)) return;
  runtime_->eventLoop().addTimer(systemSteadyNow() + pollInterval, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->poll();
  });
}

void FolderWatch::poll() {
  Listeners listeners;
  {
    const std::lock_guard lock(mutex_);
    isPolling_ = false;
    for (auto& entry : entries_) {
      if (entry.watch != unwatched) continue;
      auto listener = entry.listener.lock();
      if (!listener) continue;
      // Watched first and looked at afterwards, so that nothing falls between.
      tryToWatch(entry);
      listeners.push_back(std::move(listener));
    }
  }
  for (const auto& listener : listeners) listener->anyFileMayHaveChanged();
}

}  // namespace lx
