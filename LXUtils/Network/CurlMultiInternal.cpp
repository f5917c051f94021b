#include "LXUtils/Network/CurlMultiInternal.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "LXUtils/Foundation/ClockInternal.h"
#include "LXUtils/Network/CurlWakeUpInternal.h"

namespace lx {

CurlMulti::CurlMulti(EventLoop& loop, std::function<void(CURL*, CURLcode)> finished)
    : loop_(loop), finished_(std::move(finished)), multi_(makeCurlMulti()), timer_(loop, [this] {
        isDue_ = true;
        run();
      }) {
  curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, socketChanged);
  curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, timerChanged);
  curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
}

CurlMulti::~CurlMulti() {
  curl_multi_cleanup(multi_);
  for (auto& [fd, socket] : sockets_) unwatch(fd, socket);
}

void CurlMulti::setLimits(long idleConnections, long connections) {
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, idleConnections);
  curl_multi_setopt(multi_, CURLMOPT_MAX_TOTAL_CONNECTIONS, connections);
}

void CurlMulti::adopt(CURL* easy) {
  curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, closeSocket);
  curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

bool CurlMulti::add(CURL* easy) { return curl_multi_add_handle(multi_, easy) == CURLM_OK; }

void CurlMulti::remove(CURL* easy) { curl_multi_remove_handle(multi_, easy); }

void CurlMulti::run() {
  // libcurl asks to be called again at once while it has work left. Every now and then the other descriptors of the
  // loop get their turn.
  constexpr int longestTurn = 32;
  for (int turn = 0; turn < longestTurn; ++turn) {
    if (isDue_) {
      isDue_ = false;
      int running = 0;
      curl_multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
    }
    const bool anyFinished = tellOfFinished();
    if (!isDue_ && !anyFinished) return;
  }
  if (isDue_) timer_.set(systemSteadyNow());
}

bool CurlMulti::tellOfFinished() {
  bool any = false;
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    // The message does not outlive the removal.
    CURL* const easy = message->easy_handle;
    const CURLcode code = message->data.result;
    curl_multi_remove_handle(multi_, easy);
    any = true;
    finished_(easy, code);
  }
  return any;
}

void CurlMulti::socketReady(int fd, std::uint32_t events) {
  const auto found = sockets_.find(fd);
  if (found == sockets_.end()) return;
  if (found->second.wanted == 0) {
    // An idle connection was closed by its peer. libcurl sees that itself before it would use it again.
    unwatch(fd, found->second);
    return;
  }
  int mask = 0;
  if (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) mask |= CURL_CSELECT_IN;
  if (events & (EPOLLOUT | EPOLLERR)) mask |= CURL_CSELECT_OUT;
  int running = 0;
  curl_multi_socket_action(multi_, fd, mask, &running);
  run();
}

void CurlMulti::watch(int fd, Socket& socket, std::uint32_t events) {
  if (socket.watched == events) return;
  socket.watched = events;
  loop_.watch(fd, events, [this, fd](std::uint32_t ready) { socketReady(fd, ready); });
}

void CurlMulti::unwatch(int fd, Socket& socket) {
  if (socket.watched != 0) loop_.unwatch(fd);
  socket.watched = 0;
}

int CurlMulti::socketChanged(CURL*, curl_socket_t fd, int what, void* self, void*) {
  auto& multi = *static_cast<CurlMulti*>(self);
  const auto [entry, isNew] = multi.sockets_.try_emplace(fd);
  auto& socket = entry->second;
  // The reading end of the pair by which libcurl's name look-up tells that it has ended. The writing end stays out of
  // reach: a program that is started during the look-up inherits that one.
  if (isNew) fcntl(fd, F_SETFD, FD_CLOEXEC);
  socket.wanted = 0;
  if (what == CURL_POLL_IN || what == CURL_POLL_INOUT) socket.wanted |= EPOLLIN;
  if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT) socket.wanted |= EPOLLOUT;
  if (socket.wanted != 0) {
    multi.watch(fd, socket, socket.wanted);
  } else if (!socket.ours) {
    multi.unwatch(fd, socket);
    multi.sockets_.erase(fd);
  } else if (socket.watched & EPOLLOUT) {
    multi.unwatch(fd, socket);  // an idle socket is always ready for writing
  }
  return 0;
}

int CurlMulti::timerChanged(CURLM*, long milliseconds, void* self) {
  auto& multi = *static_cast<CurlMulti*>(self);
  multi.isDue_ = milliseconds == 0;
  if (milliseconds > 0) {
    multi.timer_.set(systemSteadyNow() + std::chrono::milliseconds(milliseconds));
  } else {
    multi.timer_.clear();
  }
  return 0;
}

curl_socket_t CurlMulti::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  // libcurl's own sockets would be inherited by every program that the process starts.
  const int fd = socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  if (fd >= 0) static_cast<CurlMulti*>(self)->sockets_[fd] = Socket{.ours = true};
  return fd;
}

int CurlMulti::closeSocket(void* self, curl_socket_t fd) {
  auto& multi = *static_cast<CurlMulti*>(self);
  if (const auto found = multi.sockets_.find(fd); found != multi.sockets_.end()) {
    multi.unwatch(fd, found->second);
    multi.sockets_.erase(found);
  }
  return close(fd);
}

}  // namespace lx
