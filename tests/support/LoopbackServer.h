#pragma once

#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace lx::support {

/// A plain HTTP server on a loopback port of its own that answers with exactly the bytes that it is told to,
/// well-formed or not. Each connection has a thread.
class LoopbackServer {
 public:
  struct Request {
    std::string head;  ///< as it came, up to and with the empty line
    std::string body;
    std::string path;    ///< the request target
    int connection = 0;  ///< counted from 1

    /// The lines of the head that begin with `name` and a colon, without the line end.
    std::vector<std::string> lines(std::string_view name) const;
  };

  struct Reply {
    enum class Then { keep, close, reset, hang };
    std::string bytes;
    Then then = Then::keep;
  };

  using Handler = std::function<Reply(const Request&)>;

  explicit LoopbackServer(Handler handler);
  ~LoopbackServer();

  /// "http://127.0.0.1:PORT" and `path`. Other names of the same server count as other origins: see `port`.
  std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
  int port() const { return port_; }

  std::vector<Request> requests() const;
  int connections() const;

 private:
  void accept();
  void serve(int fd, int number);

  Handler handler_;
  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::map<int, int> open_;  // number of the connection to its descriptor
  std::list<std::thread> threads_;
  bool stopping_ = false;
  std::thread acceptor_;
};

/// A response with its Content-Length.
std::string response(const std::string& status, const std::string& headers, const std::string& body);

}  // namespace lx::support
