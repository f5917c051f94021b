#pragma once

#include <cstdint>
#include <memory>
#include <thread>

#include "LXTesting/Backend/CertificateAuthorityInternal.h"
#include "LXTesting/Backend/HTTPEngineInternal.h"
#include "LXTesting/Backend/SocketsInternal.h"
#include "LXTesting/Backend/WorkersInternal.h"

namespace lx::backend {

/// Accepts TLS connections on a loopback port and serves each on a thread of its own.
class TLSServer {
 public:
  static Result<std::unique_ptr<TLSServer>> start(std::uint16_t port, const CertificateAuthority& authority,
                                                  Handler handler);
  TLSServer(const TLSServer&) = delete;
  TLSServer& operator=(const TLSServer&) = delete;
  /// Ends all connections at once and joins all threads.
  ~TLSServer();

  std::uint16_t port() const { return port_; }

 private:
  TLSServer(Descriptor listener, OpenSSLPointer<SSL_CTX> context, Handler handler);
  void acceptConnections();

  Descriptor listener_;
  const std::uint16_t port_;
  OpenSSLPointer<SSL_CTX> context_;
  HTTPEngine engine_;
  StopEvent stop_;
  Workers workers_;
  std::thread acceptor_;
};

}  // namespace lx::backend
