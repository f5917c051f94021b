#include "LXUtils/Network/CurlWakeUpInternal.h"

#include <array>

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lx {
namespace {

// libcurl makes each multi handle a pair of sockets by which `curl_multi_wakeup` is heard, without close-on-exec, and
// has no function that returns them. The event loop wakes by a descriptor of its own, so they are never used. They get
// the two lowest free numbers, which are known unless another thread opens or closes a descriptor at that moment.
using Pair = std::array<int, 2>;  // the reading end and the writing end

// Which numbers a pair gets that is made now.
bool nextPair(Pair& pair) {
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) < 0) return false;
  for (const int end : pair) close(end);
  return true;
}

int bytesWaiting(int fd, unsigned long question) {
  int count = 0;
  return ioctl(fd, question, &count) == 0 ? count : -1;
}

bool isWaking(const Pair& pair) { return bytesWaiting(pair[0], SIOCINQ) > 0 && bytesWaiting(pair[1], SIOCOUTQ) > 0; }

// True if a wake-up of the handle arrives at this pair, and leaves it when the handle has heard it.
bool isPairOf(CURLM* multi, const Pair& pair) {
  if (isWaking(pair)) return false;
  curl_multi_wakeup(multi);
  const bool isWoken = isWaking(pair);
  curl_multi_poll(multi, nullptr, 0, 0, nullptr);
  return isWoken && !isWaking(pair);
}

}  // namespace

CURLM* makeCurlMulti() {
  // Another thread has to come between every time for the pair to stay unknown.
  for (int attempt = 0; attempt < 10; ++attempt) {
    Pair pair{};
    if (!nextPair(pair)) break;  // libcurl gets none, either
    CURLM* const multi = curl_multi_init();
    if (!multi) return nullptr;
    if (isPairOf(multi, pair)) {
      for (const int end : pair) fcntl(end, F_SETFD, FD_CLOEXEC);
      return multi;
    }
    curl_multi_cleanup(multi);
  }
  return curl_multi_init();
}

}  // namespace lx
