#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Network/CurlMultiInternal.h"
#include "LXUtils/Network/CurlOptionsInternal.h"
#include "LXUtils/Network/CurlTransferInternal.h"
#include "LXUtils/Network/GzipDecoderInternal.h"
#include "LXUtils/Network/LazyTimerInternal.h"
#include "LXUtils/Network/NetworkResponse.h"
#include "LXUtils/Network/URLRequest.h"
#include "LXUtils/Network/URLSession.h"
#include "LXUtils/Network/URLSessionConfiguration.h"

namespace lx {

/// What a CurlURLSession leaves to the event loop's thread. Requests are handed over in batches; from there on all is
/// done on that thread, without locks. What is on the way to the thread keeps the engine alive, so that the thread can
/// take it down itself after its session has gone.
class CurlEngine : public std::enable_shared_from_this<CurlEngine> {
 public:
  explicit CurlEngine(URLSessionConfiguration configuration);

  /// Sends a request that has been found sendable. Any thread.
  Task<NetworkResponse> send(URLRequest request);

  /// Cancels everything. Nothing may be sent any more. Any thread.
  void close();

 private:
  using Deadline = EventLoop::Deadline;

  /// One call, over all its redirects.
  struct Exchange : std::enable_shared_from_this<Exchange> {
    URLRequest request;  // of the current step
    Promise<NetworkResponse> promise;
    Deadline started;
    Deadline deadline;
    std::unique_ptr<CurlTransfer> transfer;  // until the exchange has ended
    NetworkResponse response;                // with a body that is still compressed
    std::optional<GzipDecoder> decoder;
    int redirects = 0;
    bool usesJar = false;
    std::atomic<bool> cancelled{false};
    std::weak_ptr<CurlEngine> engine;
  };
  using ExchangeRef = std::shared_ptr<Exchange>;

  /// What exists from the first request on.
  struct Machinery {
    Machinery(CurlEngine& engine, EventLoop& loop);

    CurlOptions options;
    CurlMulti multi;
    LazyTimer deadline;
    std::vector<std::unique_ptr<CurlTransfer>> idle;
  };

  void takeIncoming();
  void start(const ExchangeRef& exchange);
  void startStep(Exchange& exchange);
  void stepEnded(CURL* easy, CURLcode code);
  void decode(const ExchangeRef& exchange);
  void decodeNext();
  void finish(const ExchangeRef& exchange, Result<NetworkResponse> result);
  void abandon(const ExchangeRef& exchange);
  void endOverdue();
  void watchDeadlines();
  void shutDown();
  static void logOutcome(const Exchange& exchange, const Result<NetworkResponse>& result);

  const URLSessionConfiguration configuration_;
  const std::shared_ptr<Runtime> runtime_;

  std::mutex mutex_;
  std::vector<ExchangeRef> incoming_;
  bool used_ = false;
  std::atomic<bool> closed_{false};

  // On the loop's thread alone.
  std::unique_ptr<Machinery> machinery_;
  std::set<std::pair<Deadline, ExchangeRef>> underWay_;
  std::deque<ExchangeRef> decoding_;
};

}  // namespace lx
