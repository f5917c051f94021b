#include "support/LoopbackServer.h"

#include <cstdlib>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lx::support {
namespace {

bool sendAll(int fd, const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const auto count = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool receiveMore(int fd, std::string& bytes) {
  char buffer[16384];
  const auto count = recv(fd, buffer, sizeof buffer, 0);
  if (count <= 0) return false;
  bytes.append(buffer, static_cast<std::size_t>(count));
  return true;
}

}  // namespace

std::vector<std::string> LoopbackServer::Request::lines(std::string_view name) const {
  std::vector<std::string> found;
  for (std::size_t at = 0; at < head.size();) {
    const auto end = head.find("\r\n", at);
    const auto line = head.substr(at, end - at);
    if (line.starts_with(std::string(name) + ":")) found.push_back(line);
    at = end + 2;
  }
  return found;
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 128) != 0) std::abort();
  getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    shutdown(listener_, SHUT_RDWR);
    for (const auto& [number, fd] : open_) shutdown(fd, SHUT_RDWR);
  }
  acceptor_.join();
  for (auto& thread : threads_) thread.join();
  close(listener_);
}

std::vector<LoopbackServer::Request> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

int LoopbackServer::connections() const {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(threads_.size());
}

void LoopbackServer::accept() {
  while (true) {
    const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return;
    const std::lock_guard lock(mutex_);
    if (stopping_) {
      close(fd);
      return;
    }
    const int number = static_cast<int>(threads_.size()) + 1;
    open_[number] = fd;
    threads_.emplace_back([this, fd, number] { serve(fd, number); });
  }
}

void LoopbackServer::serve(int fd, int number) {
  std::string bytes;
  bool keep = true;
  while (keep) {
    auto end = bytes.find("\r\n\r\n");
    if (end == std::string::npos) {
      if (!receiveMore(fd, bytes)) break;
      continue;
    }
    Request request{.head = bytes.substr(0, end + 4), .body = {}, .path = {}, .connection = number};
    bytes.erase(0, end + 4);
    const auto target = request.head.find(' ') + 1;
    request.path = request.head.substr(target, request.head.find(' ', target) - target);
    if (const auto length = request.lines("Content-Length"); !length.empty()) {
      const auto size = static_cast<std::size_t>(std::atol(length[0].c_str() + 15));
      while (bytes.size() < size && receiveMore(fd, bytes)) {
      }
      request.body = bytes.substr(0, size);
      bytes.erase(0, size);
    }
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(request);
    }
    const Reply reply = handler_(request);
    keep = sendAll(fd, reply.bytes);
    if (reply.then == Reply::Then::hang) receiveMore(fd, bytes);  // until the client or the test goes away
    if (reply.then != Reply::Then::keep) keep = false;
    if (reply.then == Reply::Then::reset) {
      const linger now{.l_onoff = 1, .l_linger = 0};
      setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    }
  }
  const std::lock_guard lock(mutex_);
  open_.erase(number);
  close(fd);
}

std::string response(const std::string& status, const std::string& headers, const std::string& body) {
  return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace lx::support
