#include "LXUtils/System/DarwinNotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "LXUtils/Concurrency/ForkInternal.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/FolderWatchInternal.h"

namespace lx {
namespace {

constexpr Logger logger("system");

// A file name of its own for every name, the plain ones unchanged.
std::string fileNameOf(std::string_view name) {
  constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  constexpr std::string_view digits = "0123456789ABCDEF";
  if (name.empty()) return "%";
  std::string fileName;
  for (const char character : name) {
    if (plain.contains(character) || (character == '.' && !fileName.empty())) {
      fileName += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      fileName.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return fileName;
}

// The handler's own record, so that one that is enqueued needs neither the center nor its lock.
struct Observer {
  std::string path;
  QueueRef queue;
  std::function<void()> handler;
  off_t seen = 0;  // posts that it was told of, or that came before it; under the center's lock
  std::atomic<bool> isEnqueued{false};
  std::atomic<bool> isRemoved{false};
};

off_t postsSoFar(const std::string& path) {
  struct stat status{};
  return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

void notify(const std::shared_ptr<Observer>& observer) {
  if (observer->isEnqueued.exchange(true)) return;
  observer->queue->async([observer] {
    // Before the handler, so that a post which the handler may have missed enqueues it once more.
    observer->isEnqueued = false;
    if (!observer->isRemoved) observer->handler();
  });
}

class FolderNotificationCenter final : public DarwinNotificationCenter,
                                       public FolderListener,
                                       public std::enable_shared_from_this<FolderNotificationCenter> {
 public:
  explicit FolderNotificationCenter(std::string folder) : folder_(std::move(folder)) {}

  ~FolderNotificationCenter() override {
    if (watch_) watch_->remove(this);
    for (const auto& [token, observer] : observers_) observer->isRemoved = true;
  }

  Token addObserver(const std::string& name, QueueRef queue, std::function<void()> handler) override {
    static std::atomic<Token> last{0};
    const auto observer = std::make_shared<Observer>();
    observer->path = pathOf(fileNameOf(name));
    observer->queue = std::move(queue);
    observer->handler = std::move(handler);
    const Token token = ++last;
    const std::lock_guard lock(mutex_);
    if (!watch_) {
      watch_ = FolderWatch::shared();
      watch_->add(folder_, shared_from_this());
    }
    // Counted once the watch stands: a post from here on is more than this count and finds the watch.
    observer->seen = postsSoFar(observer->path);
    observers_.emplace(token, observer);
    return token;
  }

  void removeObserver(Token token) override {
    std::shared_ptr<Observer> removed;  // released after the lock: what the handler holds may call back
    const std::lock_guard lock(mutex_);
    const auto found = observers_.find(token);
    if (found == observers_.end()) return;
    removed = std::move(found->second);
    removed->isRemoved = true;
    observers_.erase(found);
  }

  void post(const std::string& name) override {
    const std::string path = pathOf(fileNameOf(name));
    const auto openFile = [&] {
      return FileDescriptor(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    };
    auto file = openFile();
    if (!file.isOpen() && errno == ENOENT && (mkdir(folder_.c_str(), 0700) == 0 || errno == EEXIST)) file = openFile();
    if (!file.isOpen() || write(file.get(), "+", 1) != 1) {
      logger.log(3, "A notification could not be posted", std::generic_category().message(errno), "post(name:)");
    }
  }

  void fileHasChanged(std::string_view name) override { check(pathOf(name)); }
  void anyFileMayHaveChanged() override { check({}); }
  void folderIsGone() override {
    const std::lock_guard lock(mutex_);
    for (const auto& [token, observer] : observers_) observer->seen = 0;
  }

 private:
  std::string pathOf(std::string_view fileName) const { return std::string(folder_).append("/").append(fileName); }

  // Tells the observers of one file, or of all if there is no path, when it holds other posts than they have seen.
  void check(std::string_view path) {
    std::vector<std::shared_ptr<Observer>> due;
    {
      const std::lock_guard lock(mutex_);
      for (const auto& [token, observer] : observers_) {
        if (!path.empty() && observer->path != path) continue;
        // Fewer posts than before are those of a new file: the folder was cleared.
        const off_t posts = postsSoFar(observer->path);
        if (std::exchange(observer->seen, posts) != posts && posts > 0) due.push_back(observer);
      }
    }
    for (const auto& observer : due) notify(observer);
  }

  const std::string folder_;
  std::mutex mutex_;
  std::shared_ptr<FolderWatch> watch_;  // from the first observer on
  std::map<Token, std::shared_ptr<Observer>> observers_;
};

// Creates the folder and gives the one path by which it goes.
std::string preparedFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) < 0 && errno != EEXIST) {
    logger.log(3, "The folder of notifications cannot be created", std::generic_category().message(errno),
               "forFolder(path:)");
  }
  char* const resolved = realpath(path.c_str(), nullptr);
  std::string folder = resolved ? resolved : path;
  std::free(resolved);
  return folder;
}

}  // namespace

std::shared_ptr<DarwinNotificationCenter> DarwinNotificationCenter::forFolder(const std::string& path) {
  using Centers = std::map<std::string, std::weak_ptr<FolderNotificationCenter>>;
  static constinit PerProcess<Protected<Centers>> centersByFolder;
  const std::string folder = preparedFolder(path);
  return centersByFolder.get().withLock([&](Centers& centers) {
    std::erase_if(centers, [](const auto& item) { return item.second.expired(); });
    auto& current = centers[folder];
    auto center = current.lock();
    if (!center) current = center = std::make_shared<FolderNotificationCenter>(folder);
    return center;
  });
}

}  // namespace lx
