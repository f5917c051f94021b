#include <array>

#include <signal.h>

#include "LXTesting/Backend/TLSConnectionInternal.h"
#include "LXTesting/Backend/TLSServerInternal.h"

namespace lx::backend {

namespace {

// A kept connection holds its thread, so this is the number of connections at once.
constexpr std::size_t mostConnections = 1024;
constexpr int outOfDescriptorsMilliseconds = 10;

}  // namespace

Result<std::unique_ptr<TLSServer>> TLSServer::start(std::uint16_t port, const CertificateAuthority& authority,
                                                    Handler handler) {
  auto listener = listenOnLoopback(port);
  if (!listener) return fail(listener.error());
  auto context = authority.makeServerContext();
  if (!context) return fail(context.error());
  return std::unique_ptr<TLSServer>(new TLSServer(std::move(*listener), std::move(*context), std::move(handler)));
}

TLSServer::TLSServer(Descriptor listener, OpenSSLPointer<SSL_CTX> context, Handler handler)
    : listener_(std::move(listener)),
      port_(boundPort(listener_)),
      context_(std::move(context)),
      engine_(std::move(handler)),
      workers_(mostConnections),
      acceptor_([this] { acceptConnections(); }) {}

TLSServer::~TLSServer() {
  stop_.set();
  acceptor_.join();
}

/// The workers inherit the signal mask of this thread, from which they are started.
void TLSServer::acceptConnections() {
  sigset_t all;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
  std::array<pollfd, 2> watched{{{listener_.get(), POLLIN, 0}, {stop_.descriptor(), POLLIN, 0}}};
  while (waitForEvents(watched, -1) && watched[1].revents == 0) {
    Descriptor socket = acceptConnection(listener_);
    if (!socket) {
      // Out of descriptors, the listener stays readable: give connections a moment to end.
      waitForEvents(std::span(watched).last(1), outOfDescriptorsMilliseconds);
      continue;
    }
    // A job must be copyable, a connection is not.
    const auto connection = std::make_shared<TLSConnection>(std::move(socket), context_.get(), stop_);
    workers_.submit([this, connection] {
      if (connection->handshake()) engine_.serve(*connection);
    });
  }
}

}  // namespace lx::backend
