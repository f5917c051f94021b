#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "LXUtils/System/FileDescriptorInternal.h"

namespace lx {

class Runtime;

/// Who wants to know that files in a folder have been written. Called on the event loop's thread, without locks.
class FolderListener {
 public:
  virtual ~FolderListener() = default;
  virtual void fileHasChanged(std::string_view name) = 0;
  virtual void anyFileMayHaveChanged() = 0;

  /// The folder was removed or moved. Its files are not those that will be created at its path.
  virtual void folderIsGone() = 0;
};

/// The one watch of the process over all folders that have a listener: an inotify instance on the event loop. A folder
/// that is gone is created again. If a folder cannot be watched (no descriptor is left, or it cannot be created), the
/// watch tries again every 100 ms until it succeeds, and reports to the listener each time that anything may have
/// changed. The first failure is logged.
class FolderWatch final : public std::enable_shared_from_this<FolderWatch> {
 public:
  static std::shared_ptr<FolderWatch> shared();

  explicit FolderWatch(std::shared_ptr<Runtime> runtime);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// Every write after the return of this call is reported, as soon as the library's threads run.
  void add(const std::string& folder, const std::shared_ptr<FolderListener>& listener);

  /// To be called by the listener when it goes; compares addresses alone.
  void remove(const FolderListener* listener);

 private:
  struct Entry {
    std::string folder;
    const FolderListener* identity;
    std::weak_ptr<FolderListener> listener;
    int watch;               // the kernel's number, or unwatched
    bool hasFailed = false;  // since it was last watched
  };
  using Listeners = std::vector<std::shared_ptr<FolderListener>>;

  static constexpr int unwatched = -1;
  static constexpr std::chrono::milliseconds pollInterval{100};

  bool openInotify();
  void tryToWatch(Entry& entry);
  void readEvents();
  void dispatch(int watch, std::uint32_t mask, std::string_view name);
  void pollLater();
  void poll();

  const std::shared_ptr<Runtime> runtime_;
  FileDescriptor inotify_;
  std::mutex mutex_;
  std::vector<Entry> entries_;
  bool isPolling_ = false;
};

}  // namespace lx
