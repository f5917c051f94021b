// The other process of the tests of locks and notifications.
//   post FOLDER NAME COUNT     posts so often and ends
//   wait FOLDER NAME           prints "ready" and then "got" for each batch until its input ends
//   poll FOLDER NAME           the same in a process that gets no further descriptors

#include <cstdio>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "LXUtils/System/DarwinNotificationCenter.h"

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

int waitForPosts(const std::string& folder, const std::string& name, bool withoutDescriptors) {
  const auto queue = lx::DispatchQueue::makeSerial("probe");
  if (withoutDescriptors) {
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  const auto center = lx::DarwinNotificationCenter::forFolder(folder);
  center->addObserver(name, queue, [] { say("got"); });
  say("ready");
  waitForEndOfInput();
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string command = count > 3 ? arguments[1] : "";
  if (command == "wait") return waitForPosts(arguments[2], arguments[3], false);
  if (command == "poll") return waitForPosts(arguments[2], arguments[3], true);
  if (command == "post" && count > 4) {
    const auto center = lx::DarwinNotificationCenter::forFolder(arguments[2]);
    for (int i = std::stoi(arguments[4]); i > 0; --i) center->post(arguments[3]);
    return 0;
  }
  return 2;
}
