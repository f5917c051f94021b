// What a request costs through CurlURLSession, against bare libcurl; each figure is the median of the ratios of the
// rounds. The figures to hold: one at a time at most 1.10 of the wall time and 1.15 of the CPU time, 32 in flight at
// least 0.95 of the throughput.
#include "LXUtils/Network/CurlURLSession.h"

#include "Transport.h"

namespace {

using namespace transport;

class SessionClient final : public Client {
 public:
  explicit SessionClient(const Server& server) {
    lx::URLSessionConfiguration configuration;
    configuration.caFile = server.caFile;
    configuration.connectTo = server.address;
    session_ = lx::CurlURLSession::make(configuration).value();
  }

  void send(bool post, Done done) override {
    lx::URLRequest request(post ? lx::HTTPMethod::post : lx::HTTPMethod::get, url_);
    if (post) request.body = lx::dataOf(body);
    if (post) request.headers.set(lx::HTTPHeaderName::contentType, "application/json; charset=utf-8");
    request.headers.set(lx::HTTPHeaderName::authorization, lx::HTTPHeaderKnownValues::bearer(token));
    request.headers.set(lx::HTTPHeaderName::clientType, "benchmark");
    request.headers.set(lx::HTTPHeaderName::clientVersion, "1.0.0");
    session_->send(std::move(request)).finally([done = std::move(done)](const lx::Result<lx::NetworkResponse>& result) {
      done(result && result->body);
    });
  }

 private:
  lx::URL url_ = *lx::URL::make(url);
  std::shared_ptr<lx::URLSession> session_;
};

}  // namespace

int main(int argc, char** argv) {
  stayOnOneProcessor();
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
  const int count = argc > 2 ? std::atoi(argv[2]) : 1000;
  const BackendProcess backend;
  curl_global_init(CURL_GLOBAL_DEFAULT);
  BareClient bare(backend.server(), {"X-Client-Type: benchmark", "X-Client-Version: 1.0.0"});
  SessionClient session(backend.server());
  for (const Shape& shape : {Shape{"GET, one by one", false, 1}, Shape{"POST, one by one", true, 1},
                             Shape{"GET, 32 in flight", false, 32}, Shape{"POST, 32 in flight", true, 32}}) {
    compare(bare, session, "session", shape, rounds, count);
  }
}
