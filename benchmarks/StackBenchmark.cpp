// What the whole stack costs: a signed request against bare libcurl, the answer of valid credentials, signing, and the
// footprint of a process that has built it. The figures to hold: one request at a time at most 1.10 of the wall time
// and 1.15 of the CPU time, 32 in flight at least 0.95 of the throughput; valid credentials within 1 microsecond,
// signing at most 1 more; built in 1 ms, 4 threads in all, at most 4 MB of private memory after TLS traffic.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "LXTesting/InMemoryCredentialsStorage.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Foundation/FileURL.h"

#include "TemporaryFolder.h"
#include "Transport.h"
#include "support/RealStack.h"

namespace {

using namespace transport;
using std::chrono::steady_clock;

std::shared_ptr<lx::InMemoryCredentialsStorage> signedInStore() {
  auto store = std::make_shared<lx::InMemoryCredentialsStorage>();
  lx::InMemoryCredentialsStorage::Records records;
  records.credentials = lx::OAuth2Credentials{token, "refresh", lx::Clock::system()->now() + std::chrono::hours(24)};
  store->setRecords(std::move(records));
  return store;
}

lx::RealStackOptions stackOptions(const lx::TemporaryFolder& folder, const Server& server) {
  return {.folder = folder.path(), .address = server.address, .caFile = server.caFile, .storage = signedInStore()};
}

class StackClient final : public Client {
 public:
  explicit StackClient(const Server& server) : stack_(stackOptions(folder_, server)) {}

  void send(bool post, Done done) override {
    lx::URLRequest request(post ? lx::HTTPMethod::post : lx::HTTPMethod::get, url_);
    if (post) request.body = lx::dataOf(body);
    if (post) request.headers.set(lx::HTTPHeaderName::contentType, "application/json; charset=utf-8");
    service_->authorizeAndLoad(std::move(request))
        .finally([done = std::move(done)](const lx::Result<lx::NetworkResponse>& result) {
          done(result && result->body);
          lx::MainQueue::shared()->stop();
        });
  }

  /// The stack answers on the main queue, which is this thread's to run.
  void acquire(Slots& free) override {
    while (!free.tryAcquire()) lx::MainQueue::shared()->run();
  }

 private:
  const lx::TemporaryFolder folder_;
  const lx::URL url_ = *lx::URL::make(url);
  lx::RealStack stack_;
  const std::shared_ptr<lx::NetworkService> service_ = stack_.builder.oauth2NetworkService();
};

template <class Work>
double nanosecondsEach(int count, const Work& work) {
  std::vector<double> rounds;
  for (int round = 0; round < 9; ++round) {
    const auto start = steady_clock::now();
    for (int i = 0; i < count; ++i) work();
    rounds.push_back(std::chrono::duration<double, std::nano>(steady_clock::now() - start).count() / count);
  }
  return median(std::move(rounds));
}

void measureCalls(const Server& server) {
  const lx::TemporaryFolder folder;
  const lx::RealStack stack(stackOptions(folder, server));
  auto& credentials = *stack.builder.oauth2CredentialsService();
  std::size_t answered = 0;
  const double answer = nanosecondsEach(100'000, [&] {
    credentials.getOAuth2Credentials(
        [&](const lx::Result<lx::OAuth2Credentials>& result) { answered += result ? 1 : 0; });
  });
  const lx::URLRequest request(lx::HTTPMethod::get, *lx::URL::make(url));
  const double copy = nanosecondsEach(100'000, [&] { answered += lx::URLRequest(request).url ? 1 : 0; });
  const double authorize = nanosecondsEach(100'000, [&] {
    stack.builder.oauth2RequestAuthorizer()->authorize(
        request, [&](const lx::Result<lx::URLRequest>& result) { answered += result ? 1 : 0; });
  });
  std::printf("valid credentials answered in %.0f ns, signing %.0f ns more (%zu answers)\n", answer,
              authorize - answer - copy, answered);
}

/// Answers every request at once, so that only the layers above the transport are left to be measured.
class InstantURLSession final : public lx::URLSession {
 public:
  lx::Task<lx::NetworkResponse> send(lx::URLRequest request) override {
    lx::NetworkResponse response;
    response.statusCode = 404;
    response.body = std::make_shared<const lx::Data>(lx::dataOf(body));
    for (const char* name : {"Content-Type", "Content-Length", "Keep-Alive"}) response.headers.set(name, "benchmark");
    response.url = *std::move(request.url);
    return lx::Task<lx::NetworkResponse>::success(std::move(response));
  }
};

void measureLayers(const Server& server) {
  const lx::TemporaryFolder folder;
  const lx::RealStack parts(stackOptions(folder, server));
  const lx::OAuth2NetworkingBuilderImpl builder(parts.app, parts.environment, std::nullopt,
                                                std::make_shared<InstantURLSession>(), parts.store,
                                                *lx::fileURL(folder.file("refresh.lock")));
  const lx::URLRequest request(lx::HTTPMethod::get, *lx::URL::make(url));
  std::size_t answered = 0;
  const double each = nanosecondsEach(20'000, [&] {
    answered += lx::MainQueue::shared()->runUntil(builder.oauth2NetworkService()->authorizeAndLoad(request)) ? 1 : 0;
  });
  std::printf("a request through the layers above the transport: %.0f ns (%zu answers)\n", each, answered);
}

/// Bytes of memory that this process shares with no other.
double privateMegabytes() {
  std::ifstream file("/proc/self/smaps_rollup");
  double kilobytes = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string name;
    double amount = 0;
    words >> name >> amount;
    if (name == "Private_Clean:" || name == "Private_Dirty:") kilobytes += amount;
  }
  return kilobytes / 1024;
}

/// In a process of its own, whose memory has seen nothing else.
int showFootprint(const Server& server) {
  const double before = privateMegabytes();
  const lx::TemporaryFolder folder;
  auto options = stackOptions(folder, server);
  const auto start = steady_clock::now();
  const lx::RealStack stack(std::move(options));
  const std::chrono::duration<double, std::milli> built = steady_clock::now() - start;
  for (int i = 0; i < 3; ++i) {
    const lx::URLRequest request(lx::HTTPMethod::get, *lx::URL::make(url));
    if (!lx::MainQueue::shared()->runUntil(stack.builder.oauth2NetworkService()->authorizeAndLoad(request))) return 1;
  }
  const auto threads =
      std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
  std::printf("built in %.2f ms; after TLS traffic %td threads and %.1f MB of private memory more than before\n",
              built.count(), threads, privateMegabytes() - before);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "footprint") return showFootprint({argv[2], argv[3]});
  stayOnOneProcessor();
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 15;
  const int count = argc > 2 ? std::atoi(argv[2]) : 1000;
  const BackendProcess backend;
  const auto& server = backend.server();
  for (int i = 0; i < 3; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      execl("/proc/self/exe", argv[0], "footprint", server.address.c_str(), server.caFile.c_str(), nullptr);
      _exit(127);
    }
    waitpid(child, nullptr, 0);
  }
  measureCalls(server);
  measureLayers(server);
  curl_global_init(CURL_GLOBAL_DEFAULT);
  BareClient bare(server, {"Origin: https://ios.lexiconia-com.test", "X-Client-Type: mobile-ios",
                           "X-Client-Version: 1.2.3", "X-Container-Id: container-1"});
  StackClient stack(server);
  for (const Shape& shape : {Shape{"GET, one by one", false, 1}, Shape{"POST, one by one", true, 1},
                             Shape{"GET, 32 in flight", false, 32}, Shape{"POST, 32 in flight", true, 32}}) {
    compare(bare, stack, "stack", shape, rounds, count);
  }
}
