#include <algorithm>
#include <array>
#include <cstring>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include "LXTesting/Backend/TLSConnectionInternal.h"

namespace lx::backend {

namespace {

constexpr std::size_t bufferSize = std::size_t{16} * 1024;
constexpr int idleMilliseconds = 60'000;
constexpr int peerMilliseconds = 30'000;

/// What an operation waits for that could not go on; 0 when waiting does not help.
short eventsFor(int reason) {
  if (reason == SSL_ERROR_WANT_READ) return POLLIN;
  return reason == SSL_ERROR_WANT_WRITE ? POLLOUT : short{0};
}

}  // namespace

TLSConnection::TLSConnection(Descriptor socket, SSL_CTX* context, const StopEvent& stop)
    : socket_(std::move(socket)), stop_(stop), ssl_(SSL_new(context)), input_(bufferSize) {
  SSL_set_fd(ssl_, socket_.get());
  SSL_set_app_data(ssl_, this);
}

TLSConnection::~TLSConnection() { SSL_free(ssl_); }

TLSConnection* TLSConnection::of(const SSL* ssl) { return static_cast<TLSConnection*>(SSL_get_app_data(ssl)); }

/// False after the time, when the server stops, and when the connection broke.
bool TLSConnection::waitFor(short events, int milliseconds) const {
  std::array<pollfd, 2> watched{{{socket_.get(), events, 0}, {stop_.descriptor(), POLLIN, 0}}};
  return waitForEvents(watched, milliseconds) && watched[1].revents == 0;
}

/// Runs a TLS operation to its end, waiting as it asks for.
template <class Operation>
int TLSConnection::perform(const Operation& operation) {
  while (socket_) {
    ERR_clear_error();
    const int result = operation();
    if (result > 0) return result;
    const int reason = SSL_get_error(ssl_, result);
    if (reason == SSL_ERROR_ZERO_RETURN) return 0;
    const short events = eventsFor(reason);
    if (events == 0 || !waitFor(events, peerMilliseconds)) return -1;
  }
  return -1;
}

bool TLSConnection::handshake() {
  return perform([this] { return SSL_accept(ssl_); }) > 0;
}

bool TLSConnection::waitForRequest() {
  if (!socket_) return false;
  return inputBegin_ < inputEnd_ || SSL_pending(ssl_) > 0 || waitFor(POLLIN, idleMilliseconds);
}

long TLSConnection::read(char* data, std::size_t size) {
  if (inputBegin_ == inputEnd_) {
    // What the peer waits for must be out before we wait for the peer.
    if (!flush()) return -1;
    const int count = perform([this] { return SSL_read(ssl_, input_.data(), static_cast<int>(input_.size())); });
    if (count <= 0) return count;
    inputBegin_ = 0;
    inputEnd_ = static_cast<std::size_t>(count);
  }
  const auto count = std::min(size, inputEnd_ - inputBegin_);
  std::memcpy(data, input_.data() + inputBegin_, count);
  inputBegin_ += count;
  return static_cast<long>(count);
}

bool TLSConnection::write(std::string_view bytes) {
  if (!socket_) return false;
  output_ += bytes;
  return output_.size() < bufferSize || flush();
}

bool TLSConnection::flush() {
  const auto pending = std::exchange(output_, {});
  return send(pending);
}

bool TLSConnection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto piece = static_cast<int>(std::min(bytes.size(), bufferSize));
    const int count = perform([&] { return SSL_write(ssl_, bytes.data(), piece); });
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return static_cast<bool>(socket_);
}

bool TLSConnection::pause(int milliseconds) {
  std::array<pollfd, 2> watched{{{socket_.get(), POLLRDHUP, 0}, {stop_.descriptor(), POLLIN, 0}}};
  return !waitForEvents(watched, milliseconds);
}

void TLSConnection::finish() {
  if (!socket_) return;
  flush();
  ERR_clear_error();
  if (SSL_is_init_finished(ssl_)) SSL_shutdown(ssl_);
  socket_.close();
}

void TLSConnection::abort() { socket_.reset(); }

}  // namespace lx::backend
