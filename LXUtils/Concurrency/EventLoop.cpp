#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <future>
#include <map>
#include <mutex>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "LXUtils/Concurrency/EventLoopInternal.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Foundation/ClockInternal.h"
#include "LXUtils/Foundation/FatalError.h"
#include "LXUtils/System/FileDescriptorInternal.h"

namespace lx {
namespace {

// In a forked child, for the rest of its life. Destroying it would close connections that the parent goes on using.
void keepForever(EventLoop::Work work) {
  static constinit PerProcess<Protected<std::vector<EventLoop::Work>>> kept;
  kept.get().withLock([&](auto& all) { all.push_back(std::move(work)); });
}

}  // namespace

// Shared with the thread, since the last owner of the loop may be that thread.
struct EventLoop::Core {
  Result<void> openDescriptors();

  void wake() {
    if (!isRunning || awake.exchange(true)) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUp.get(), &one, sizeof one);
  }

  void run();
  void runPosted();
  void runDueTimers();
  int timeoutMilliseconds();
  void dispatch(int fd, std::uint32_t events);

  FileDescriptor epoll;  // opened before the thread starts, like the next
  FileDescriptor wakeUp;
  std::atomic<bool> isRunning{false};
  std::atomic<bool> awake{false};
  std::atomic<bool> stopped{false};
  std::atomic<std::thread::id> threadID{};

  std::mutex mutex;
  std::vector<Work> posted;
  std::map<std::pair<Deadline, TimerID>, Work> timers;
  std::unordered_map<TimerID, Deadline> deadlines;
  TimerID lastTimer = 0;

  // Touched on the loop's thread alone.
  std::unordered_map<int, std::shared_ptr<std::function<void(std::uint32_t)>>> handlers;
};

Result<void> EventLoop::Core::openDescriptors() {
  FileDescriptor set(epoll_create1(EPOLL_CLOEXEC));
  FileDescriptor event(set.isOpen() ? eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1);
  epoll_event interest{.events = EPOLLIN, .data = {.fd = event.get()}};
  if (!event.isOpen() || epoll_ctl(set.get(), EPOLL_CTL_ADD, event.get(), &interest) < 0) {
    return fail(RuntimeError{RuntimeError::Kind::noDescriptor, std::generic_category().message(errno)});
  }
  epoll = std::move(set);
  wakeUp = std::move(event);
  return {};
}

void EventLoop::Core::runPosted() {
  std::vector<Work> work;
  {
    const std::lock_guard lock(mutex);
    work.swap(posted);
  }
  for (auto& item : work) runContained(item);
}

void EventLoop::Core::runDueTimers() {
  while (true) {
    Work work;
    {
      const std::lock_guard lock(mutex);
      if (timers.empty() || timers.begin()->first.first > systemSteadyNow()) return;
      work = std::move(timers.begin()->second);
      deadlines.erase(timers.begin()->first.second);
      timers.erase(timers.begin());
    }
    runContained(work);
  }
}

int EventLoop::Core::timeoutMilliseconds() {
  const std::lock_guard lock(mutex);
  if (!posted.empty()) return 0;
  if (timers.empty()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(timers.begin()->first.first - systemSteadyNow());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

void EventLoop::Core::dispatch(int fd, std::uint32_t events) {
  const auto found = handlers.find(fd);
  if (found == handlers.end()) return;
  const auto handler = found->second;  // kept, since the handler may unwatch its own descriptor
  const auto call = [&] { (*handler)(events); };
  runContained(call);
}

void EventLoop::Core::run() {
  threadID = std::this_thread::get_id();
  std::array<epoll_event, 64> events{};
  while (!stopped) {
    const int count = epoll_wait(epoll.get(), events.data(), static_cast<int>(events.size()), timeoutMilliseconds());
    if (count < 0 && errno != EINTR) fatalError("The event loop cannot wait");
    for (int i = 0; i < count && !stopped; ++i) {
      const auto& event = events[static_cast<std::size_t>(i)];
      if (event.data.fd == wakeUp.get()) {
        std::uint64_t ignored = 0;
        [[maybe_unused]] const auto size = read(wakeUp.get(), &ignored, sizeof ignored);
        awake = false;
      } else {
        dispatch(event.data.fd, event.events);
      }
    }
    if (!stopped) runPosted();
    if (!stopped) runDueTimers();
  }
}

EventLoop::EventLoop() : core_(std::make_shared<Core>()) {}

EventLoop::~EventLoop() {
  core_->stopped = true;
  core_->wake();
  if (thread_.joinable()) {
    if (isOnLoopThread()) {
      joinLater(std::move(thread_));
    } else {
      thread_.join();
    }
  }
  // What was never run is let go of outside the lock: a dropped promise runs its continuations.
  std::vector<Work> posted;
  std::map<std::pair<Deadline, TimerID>, Work> timers;
  const std::lock_guard lock(core_->mutex);
  posted.swap(core_->posted);
  timers.swap(core_->timers);
}

Result<void> EventLoop::start() {
  if (core_->isRunning) return {};
  if (!core_->epoll.isOpen()) {
    if (auto opened = core_->openDescriptors(); !opened) return opened;
  }
  auto thread = startThread([core = core_] { core->run(); });
  if (!thread) return fail(thread.error());
  thread_ = *std::move(thread);
  // What was queued while it did not run waked nobody.
  core_->isRunning = true;
  core_->wake();
  return {};
}

void EventLoop::post(Work work) {
  if (mark_.isInherited()) return keepForever(std::move(work));
  {
    const std::lock_guard lock(core_->mutex);
    core_->posted.push_back(std::move(work));
  }
  if (!isOnLoopThread()) core_->wake();
}

void EventLoop::perform(Work work) {
  if (isOnLoopThread()) {
    work();
  } else {
    post(std::move(work));
  }
}

bool EventLoop::waitForPosted(std::chrono::milliseconds limit) {
  if (!core_->isRunning || isOnLoopThread()) return false;
  const auto reached = std::make_shared<std::promise<void>>();
  post([reached] { reached->set_value(); });
  return reached->get_future().wait_for(limit) == std::future_status::ready;
}

EventLoop::TimerID EventLoop::addTimer(Deadline deadline, Work work) {
  if (mark_.isInherited()) {
    keepForever(std::move(work));
    return 0;
  }
  TimerID timer = 0;
  bool first = false;
  {
    const std::lock_guard lock(core_->mutex);
    timer = ++core_->lastTimer;
    core_->timers.emplace(std::pair(deadline, timer), std::move(work));
    core_->deadlines.emplace(timer, deadline);
    first = core_->timers.begin()->first.second == timer;
  }
  if (first && !isOnLoopThread()) core_->wake();
  return timer;
}

void EventLoop::cancelTimer(TimerID timer) {
  if (mark_.isInherited()) return;
  Work dropped;
  const std::lock_guard lock(core_->mutex);
  const auto found = core_->deadlines.find(timer);
  if (found == core_->deadlines.end()) return;
  const auto entry = core_->timers.find({found->second, timer});
  dropped = std::move(entry->second);
  core_->timers.erase(entry);
  core_->deadlines.erase(found);
}

void EventLoop::watch(int fd, std::uint32_t events, std::function<void(std::uint32_t)> handler) {
  if (mark_.isInherited()) return;
  epoll_event event{.events = events, .data = {.fd = fd}};
  const bool known = core_->handlers.contains(fd);
  core_->handlers[fd] = std::make_shared<std::function<void(std::uint32_t)>>(std::move(handler));
  // A descriptor that was closed and opened again since has left the kernel's set while we still know its number.
  if (epoll_ctl(core_->epoll.get(), known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, fd, &event) < 0 && known &&
      errno == ENOENT) {
    epoll_ctl(core_->epoll.get(), EPOLL_CTL_ADD, fd, &event);
  }
}

void EventLoop::unwatch(int fd) {
  if (!mark_.isInherited() && core_->handlers.erase(fd) > 0) epoll_ctl(core_->epoll.get(), EPOLL_CTL_DEL, fd, nullptr);
}

bool EventLoop::isOnLoopThread() const {
  return core_->threadID.load() == std::this_thread::get_id() && !mark_.isInherited();
}

}  // namespace lx
