#pragma once

#include <memory>

#include "LXTesting/Backend/MessagesInternal.h"

namespace lx::backend {

class TLSConnection;

/// Speaks HTTP/1.1 on connections that are handed to it, and asks one handler for every answer.
class HTTPEngine {
 public:
  explicit HTTPEngine(Handler handler);
  HTTPEngine(const HTTPEngine&) = delete;
  HTTPEngine& operator=(const HTTPEngine&) = delete;
  ~HTTPEngine();

  /// Serves requests until the connection ends. May be called from many threads, which must block SIGPIPE.
  void serve(TLSConnection& connection);

 private:
  class Server;
  std::unique_ptr<Server> server_;
};

}  // namespace lx::backend
