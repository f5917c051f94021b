#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>

#include <curl/curl.h>

#include "LXUtils/Concurrency/EventLoopInternal.h"
#include "LXUtils/Network/LazyTimerInternal.h"

namespace lx {

/// libcurl's multi interface on an event loop: the loop watches libcurl's sockets and timers. On the loop's thread
/// only.
///
/// A kept connection's socket stays in the loop's set between requests, since taking it out and putting it back would
/// cost two system calls a request. libcurl must therefore tell when it closes a socket: see `adopt`.
class CurlMulti {
 public:
  /// `finished(easy, code)` is called for each transfer that has ended and was taken out of the multi handle, never
  /// from within a call into libcurl. It may add and remove transfers.
  CurlMulti(EventLoop& loop, std::function<void(CURL*, CURLcode)> finished);
  ~CurlMulti();
  CurlMulti(const CurlMulti&) = delete;
  CurlMulti& operator=(const CurlMulti&) = delete;

  /// False if there was no memory for the handle. Nothing else may be called then.
  bool isUsable() const { return multi_; }

  void setLimits(long idleConnections, long connections);

  /// Has the handle's sockets opened for, and closed by, this object.
  void adopt(CURL* easy);

  /// `run` gets what was added going.
  bool add(CURL* easy);
  void remove(CURL* easy);

  /// Does what is due, and tells of the transfers that ended by it.
  void run();

 private:
  struct Socket {
    std::uint32_t wanted = 0;   // by libcurl now
    std::uint32_t watched = 0;  // by the loop
    bool ours = false;          // opened through us, so that we hear of its end
  };

  void socketReady(int fd, std::uint32_t events);
  void watch(int fd, Socket& socket, std::uint32_t events);
  void unwatch(int fd, Socket& socket);
  bool tellOfFinished();

  static int socketChanged(CURL*, curl_socket_t fd, int what, void* self, void*);
  static int timerChanged(CURLM*, long milliseconds, void* self);
  static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
  static int closeSocket(void* self, curl_socket_t fd);

  EventLoop& loop_;
  std::function<void(CURL*, CURLcode)> finished_;
  CURLM* multi_;
  LazyTimer timer_;
  std::unordered_map<int, Socket> sockets_;
  bool isDue_ = false;
};

}  // namespace lx
