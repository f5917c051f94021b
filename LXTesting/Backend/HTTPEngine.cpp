#include <array>

#include <httplib.h>
#include <signal.h>

#include "LXTesting/Backend/HTTPEngineInternal.h"
#include "LXTesting/Backend/TLSConnectionInternal.h"

namespace lx::backend {

namespace {

constexpr std::size_t largestBody = std::size_t{64} * 1024 * 1024;
constexpr std::size_t requestsOfAConnection = 1'000'000;

// The HTTP library compresses whatever it may, brotli at its slowest setting included. Held back under another name,
// the header reaches the journal and not the library.
constexpr const char* acceptEncoding = "Accept-Encoding";
constexpr const char* heldBackAcceptEncoding = "LX-Held-Back-Accept-Encoding";

/// What the library adds to the headers of a request.
bool isOfTheLibrary(std::string_view name) {
  constexpr std::array<std::string_view, 4> names{"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR", "LOCAL_PORT"};
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// The library ignores SIGPIPE for the whole process and its children. Our threads block it instead, so whatever the
/// process had stays.
class KeptSignalAction {
 public:
  KeptSignalAction() { ::sigaction(SIGPIPE, nullptr, &action_); }
  KeptSignalAction(const KeptSignalAction&) = delete;
  KeptSignalAction& operator=(const KeptSignalAction&) = delete;
  ~KeptSignalAction() { ::sigaction(SIGPIPE, &action_, nullptr); }

 private:
  struct sigaction action_{};
};

class ConnectionStream final : public httplib::Stream {
 public:
  explicit ConnectionStream(TLSConnection& connection) : connection_(connection) {}

  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  ssize_t read(char* data, std::size_t size) override { return connection_.read(data, size); }
  ssize_t write(const char* data, std::size_t size) override {
    return connection_.write({data, size}) ? static_cast<ssize_t>(size) : -1;
  }
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return connection_.socket(); }

 private:
  TLSConnection& connection_;
};

/// The host without its port, so that routes and cookies do not depend on where the backend listens.
std::string hostName(std::string_view host) {
  const auto colon = host.rfind(':');
  if (colon == std::string_view::npos || host.find(']', colon) != std::string_view::npos) return lowercased(host);
  return lowercased(host.substr(0, colon));
}

ServerRequest requestOf(const httplib::Request& request) {
  ServerRequest result{.method = request.method,
                       .host = hostName(request.get_header_value("Host")),
                       .path = {},
                       .query = {},
                       .headers = {},
                       .body = request.body};
  const auto question = request.target.find('?');
  result.path = request.target.substr(0, question);
  if (question != std::string::npos) result.query = request.target.substr(question + 1);
  for (const auto& [name, value] : request.headers) {
    if (isOfTheLibrary(name)) continue;
    result.headers.emplace_back(name == heldBackAcceptEncoding ? acceptEncoding : name, value);
  }
  return result;
}

void fill(httplib::Response& target, ServerResponse source) {
  target.status = source.status;
  for (auto& [name, value] : source.headers) target.headers.emplace(std::move(name), std::move(value));
  if (!source.contentType.empty()) target.headers.emplace("Content-Type", std::move(source.contentType));
  target.body = std::move(source.body);
}

}  // namespace

/// The library's server without its sockets: those are ours, so that connections can be broken in every way.
class HTTPEngine::Server final : public httplib::Server {
 public:
  explicit Server(backend::Handler handler) {
    const auto answer = [handler = std::move(handler)](const httplib::Request& request, httplib::Response& response) {
      // Once the handler has taken over the wire, nothing more can be written to it and this response goes nowhere.
      if (auto made = handler(requestOf(request), *TLSConnection::of(request.ssl))) fill(response, std::move(*made));
    };
    const std::string everything = ".*";
    Get(everything, answer);
    Post(everything, answer);
    Put(everything, answer);
    Patch(everything, answer);
    Delete(everything, answer);
    Options(everything, answer);
    set_payload_max_length(largestBody);
    set_keep_alive_max_count(requestsOfAConnection);
    set_keep_alive_timeout(60);
  }

  void serve(TLSConnection& connection) {
    ConnectionStream stream(connection);
    const auto prepare = [&](httplib::Request& request) {
      request.ssl = connection.ssl();
      if (auto header = request.headers.extract(acceptEncoding)) {
        header.key() = heldBackAcceptEncoding;
        request.headers.insert(std::move(header));
      }
    };
    bool last = false;
    while (!last && connection.waitForRequest()) {
      if (!process_request(stream, false, last, prepare) || !connection.flush()) break;
    }
    connection.finish();
  }
};

HTTPEngine::HTTPEngine(Handler handler) {
  const KeptSignalAction kept;
  server_ = std::make_unique<Server>(std::move(handler));
}

HTTPEngine::~HTTPEngine() = default;

void HTTPEngine::serve(TLSConnection& connection) { server_->serve(connection); }

}  // namespace lx::backend
