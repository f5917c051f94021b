#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "LXTesting/Backend/SocketsInternal.h"
#include "LXTesting/DevBackendError.h"

namespace lx::backend {

namespace {

constexpr int waitingConnections = 1024;

sockaddr_in loopbackAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

void switchOn(int socket, int level, int option) {
  const int on = 1;
  ::setsockopt(socket, level, option, &on, sizeof on);
}

}  // namespace

void Descriptor::close() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

void Descriptor::reset() {
  const linger now{.l_onoff = 1, .l_linger = 0};
  if (number_ >= 0) ::setsockopt(number_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  close();
}

Result<Descriptor> listenOnLoopback(std::uint16_t port) {
  Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  switchOn(listener.get(), SOL_SOCKET, SO_REUSEADDR);
  const auto address = loopbackAddress(port);
  if (!listener || ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), waitingConnections) != 0) {
    return fail(DevBackendError{DevBackendError::Kind::socket,
                                "127.0.0.1:" + std::to_string(port) + ": " + std::strerror(errno)});
  }
  return listener;
}

std::uint16_t boundPort(const Descriptor& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

Descriptor acceptConnection(const Descriptor& listener) {
  Descriptor connection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (connection) switchOn(connection.get(), IPPROTO_TCP, TCP_NODELAY);
  return connection;
}

Descriptor connectToLoopback(std::uint16_t port) {
  Descriptor connection(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!connection) return connection;
  switchOn(connection.get(), IPPROTO_TCP, TCP_NODELAY);
  const auto address = loopbackAddress(port);
  if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
      errno != EINPROGRESS) {
    connection.close();
  }
  return connection;
}

bool waitForEvents(std::span<pollfd> watched, int milliseconds) {
  int ready = 0;
  do {
    ready = ::poll(watched.data(), watched.size(), milliseconds);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

StopEvent::StopEvent() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void StopEvent::set() { ::eventfd_write(event_.get(), 1); }

void StopEvent::clear() {
  eventfd_t value = 0;
  ::eventfd_read(event_.get(), &value);
}

}  // namespace lx::backend
