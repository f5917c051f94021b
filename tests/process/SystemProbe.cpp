// The other process of the tests of what processes share, or have to do without.
//   post FOLDER NAME COUNT     posts so often and ends
//   wait FOLDER NAME           prints "ready" and then "got" for each batch until its input ends
//   poll FOLDER NAME           the same in a process that gets no further descriptors
//   starve LIMIT URL           prints the outcome of a request, and of starting a queue, under the limit ("threads" or
//                              "descriptors"); of a request without the limit, of one when the limit is back, of one
//                              without it; and "ran" when what the queue was given at first has run
//   fork WHOSE URL             prints the outcomes of a request, of a timer; of a request, a timer and a step on a
//   queue
//                              in a forked child, with the same session, clock and queue or with its "own"; the exit
//                              status of the child and the outcome of another request
//   spawn URL                  prints the outcome of a request, and "open" with the descriptors that a program then
//   gets open                       prints that line

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <future>
#include <string>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Network/CurlURLSession.h"
#include "LXUtils/System/DarwinNotificationCenter.h"

#include "process/ForkedChild.h"

namespace {

void say(const std::string& text) {
  std::puts(text.c_str());
  std::fflush(stdout);
}

void waitForEndOfInput() {
  char ignored = 0;
  while (read(STDIN_FILENO, &ignored, 1) > 0) {
  }
}

void limit(__rlimit_resource resource, rlim_t value) {
  rlimit limits{};
  getrlimit(resource, &limits);
  limits.rlim_cur = value;
  setrlimit(resource, &limits);
}

int waitForPosts(const std::string& folder, const std::string& name, bool withoutDescriptors) {
  const auto queue = lx::DispatchQueue::makeSerial("probe");
  if (withoutDescriptors) {
    if (!queue->ensureRunning()) return 1;
    limit(RLIMIT_NOFILE, 0);
  }
  const auto center = lx::DarwinNotificationCenter::forFolder(folder);
  center->addObserver(name, queue, [] { say("got"); });
  say("ready");
  waitForEndOfInput();
  return 0;
}

template <class T>
std::string outcome(const lx::Task<T>& task) {
  std::promise<void> done;
  task.finally([&](const auto&) { done.set_value(); });
  done.get_future().wait();
  const auto result = *task.result();
  return result ? "ok" : result.error().typeName();
}

std::string send(lx::URLSession& session, const std::string& url) {
  return outcome(session.send({lx::HTTPMethod::get, *lx::URL::make(url)}));
}

lx::Task<void> later(const lx::QueueRef& queue, lx::Clock& clock) {
  lx::Promise<void> promise;
  auto task = promise.task();
  clock.after(std::chrono::nanoseconds(1), queue, [promise = std::move(promise)]() mutable { promise.complete({}); });
  return task;
}

int starve(const std::string& limited, const std::string& url) {
  // The limit on threads does not bind the administrator.
  if (geteuid() == 0 && setresuid(54321, 54321, 54321) < 0) return 1;
  const auto resource = limited == "threads" ? RLIMIT_NPROC : RLIMIT_NOFILE;
  rlimit usual{};
  getrlimit(resource, &usual);
  const auto session = lx::CurlURLSession::make().value();
  const auto queue = lx::DispatchQueue::makeSerial("probe");
  std::promise<void> ran;

  limit(resource, 0);
  say(send(*session, url));
  const auto started = queue->ensureRunning();
  say(started ? "ok" : started.error().typeName());
  queue->async([&] { ran.set_value(); });
  limit(resource, usual.rlim_cur);
  say(send(*session, url));
  limit(resource, 0);
  say(send(*lx::CurlURLSession::make().value(), url));
  limit(resource, usual.rlim_cur);
  say(send(*session, url));
  ran.get_future().wait();
  say("ran");
  return 0;
}

int forkAway(bool withOwn, const std::string& url) {
  // Static, so that the exit of the child destroys them.
  static const auto session = lx::CurlURLSession::make().value();
  static const auto queue = lx::DispatchQueue::makeSerial("probe");
  static const auto clock = lx::Clock::system();
  say(send(*session, url));
  say(outcome(later(queue, *clock)));
  const pid_t child = lx::forkProbe();
  if (child == 0) {
    const auto ownSession = withOwn ? lx::CurlURLSession::make().value() : session;
    const auto ownQueue = withOwn ? lx::DispatchQueue::makeSerial("probe") : queue;
    say(send(*ownSession, url));
    say(outcome(later(ownQueue, withOwn ? *lx::Clock::system() : *clock)));
    say(outcome(lx::Task<void>::success().map([] {}, ownQueue)));
    std::exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  say("exit " + std::to_string(status));
  say(send(*session, url));
  return 0;
}

int spawn(const std::string& self, const std::string& url) {
  close_range(3, ~0U, 0);  // what this process inherited itself
  const auto session = lx::CurlURLSession::make().value();
  const auto center = lx::DarwinNotificationCenter::forFolder(std::filesystem::temp_directory_path());
  center->addObserver("nothing", lx::DispatchQueue::makeSerial("probe"), [] {});
  say(send(*session, url));
  std::string arguments[] = {self, "open"};
  char* const list[] = {arguments[0].data(), arguments[1].data(), nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, self.c_str(), nullptr, nullptr, list, environ) != 0) return 1;
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

int listOpen() {
  std::string line = "open";
  for (int fd = 3; fd < 1000; ++fd) {
    std::error_code ignored;
    const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), ignored);
    if (!target.empty()) line += " " + target.string();
  }
  say(line);
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 1 ? arguments[1] : "";
  if (command == "wait" && count > 3) return waitForPosts(arguments[2], arguments[3], false);
  if (command == "poll" && count > 3) return waitForPosts(arguments[2], arguments[3], true);
  if (command == "starve" && count > 3) return starve(arguments[2], arguments[3]);
  if (command == "fork" && count > 3) return forkAway(arguments[2] == std::string("own"), arguments[3]);
  if (command == "spawn" && count > 2) return spawn("/proc/self/exe", arguments[2]);
  if (command == "open") return listOpen();
  if (command == "post" && count > 4) {
    const auto center = lx::DarwinNotificationCenter::forFolder(arguments[2]);
    for (int i = std::stoi(arguments[4]); i > 0; --i) center->post(arguments[3]);
    return 0;
  }
  return 2;
}
