#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <openssl/types.h>

#include "LXTesting/Backend/MessagesInternal.h"
#include "LXTesting/Backend/SocketsInternal.h"

namespace lx::backend {

/// One accepted connection, used by one thread. Reads and writes are buffered; every wait ends when `stop` is set.
class TLSConnection final : public Wire {
 public:
  TLSConnection(Descriptor socket, SSL_CTX* context, const StopEvent& stop);
  TLSConnection(const TLSConnection&) = delete;
  TLSConnection& operator=(const TLSConnection&) = delete;
  ~TLSConnection() override;

  bool handshake();
  /// Waits for the first byte of the next request; false when the client is gone or stays silent.
  bool waitForRequest();

  /// The number of bytes read, 0 at the end, negative on failure.
  long read(char* data, std::size_t size);
  bool write(std::string_view bytes);
  bool flush();

  bool pause(int milliseconds) override;
  bool send(std::string_view bytes) override;
  void finish() override;
  void abort() override;

  int socket() const { return socket_.get(); }
  SSL* ssl() const { return ssl_; }
  /// The connection behind a TLS object.
  static TLSConnection* of(const SSL* ssl);

 private:
  template <class Operation>
  int perform(const Operation& operation);
  bool waitFor(short events, int milliseconds) const;

  Descriptor socket_;
  const StopEvent& stop_;
  SSL* ssl_ = nullptr;
  std::vector<char> input_;
  std::size_t inputBegin_ = 0;
  std::size_t inputEnd_ = 0;
  std::string output_;
};

}  // namespace lx::backend
