#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "LXUtils/Concurrency/DispatchQueue.h"

namespace lx {

/// Named notifications without payload between the processes that use one folder. A process gets its own, too.
/// Any thread.
class DarwinNotificationCenter {
 public:
  /// Unique in the process; 0 is none.
  using Token = std::uint64_t;

  virtual ~DarwinNotificationCenter() = default;

  /// Enqueues `handler` on `queue` for what is posted under `name` after this call has returned. Posts that come
  /// before the handler runs count as one. If the library's threads cannot be started, the observer hears of posts as
  /// soon as a later call can start them.
  virtual Token addObserver(const std::string& name, QueueRef queue, std::function<void()> handler) = 0;

  /// Without effect when the token is unknown. A handler that was enqueued before does not run any more; one that is
  /// running at this moment on another thread goes on to its end.
  virtual void removeObserver(Token token) = 0;

  /// Tells the observers of all processes, and never waits for them. If the folder is gone, it is created again. A post
  /// that fails (the disk is full, the folder cannot be created) is logged.
  virtual void post(const std::string& name) = 0;

  /// The center of a folder, which is created with mode 0700 if it is missing, in one that must exist. The same folder
  /// gives the same center as long as somebody holds it; its observers go with it, though only `removeObserver` says
  /// when.
  ///
  /// Each name has a file there that grows by one byte a post: its size is the number of posts so far. Posting
  /// therefore needs no lock, an observer knows what was posted before it came, and one that dies leaves nothing
  /// behind. All centers of a process share one inotify instance; without one, and while the folder cannot be watched,
  /// they look at their files every 100 ms. A folder that is removed or moved while it has observers is created again
  /// within that time.
  static std::shared_ptr<DarwinNotificationCenter> forFolder(const std::string& path);
};

}  // namespace lx
