#include "LXUtils/Network/CurlEngineInternal.h"

#include <algorithm>
#include <csignal>

#include <pthread.h>

#include "LXUtils/Foundation/ClockInternal.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/HTTPCookieStorage.h"
#include "LXUtils/Network/RedirectPolicyInternal.h"

namespace lx {
namespace {

// What is longer would overflow when it is added to a time, and is as good as no limit.
constexpr std::chrono::milliseconds longestTimeout = std::chrono::days(365);

}  // namespace

CurlEngine::Machinery::Machinery(CurlEngine& engine, EventLoop& loop)
    : options(engine.configuration_),
      multi(loop, [&engine](CURL* easy, CURLcode code) { engine.stepEnded(easy, code); }),
      deadline(loop, [&engine] { engine.endOverdue(); }) {
  multi.setLimits(static_cast<long>(engine.configuration_.maximumIdleConnections),
                  static_cast<long>(engine.configuration_.maximumConnections));
}

CurlEngine::CurlEngine(URLSessionConfiguration configuration)
    : configuration_(std::move(configuration)), runtime_(Runtime::shared()) {}

Task<NetworkResponse> CurlEngine::send(URLRequest request) {
  if (auto running = runtime_->start(); !running) return Task<NetworkResponse>::failure(running.error());
  const auto exchange = std::make_shared<Exchange>();
  exchange->started = systemSteadyNow();
  exchange->deadline = exchange->started + std::min(request.timeout.value_or(configuration_.timeout), longestTimeout);
  exchange->usesJar = configuration_.cookieStorage && !request.headers.value(HTTPHeaderName::cookie);
  exchange->request = std::move(request);
  exchange->engine = weak_from_this();
  exchange->promise.onCancel([weak = std::weak_ptr(exchange)] {
    const auto cancelled = weak.lock();
    if (!cancelled) return;
    cancelled->cancelled = true;
    if (const auto engine = cancelled->engine.lock()) {
      engine->runtime_->eventLoop().post([engine, cancelled] { engine->abandon(cancelled); });
    }
  });
  auto task = exchange->promise.task();
  bool first = false;
  {
    const std::lock_guard lock(mutex_);
    used_ = true;
    first = incoming_.empty();
    incoming_.push_back(exchange);
  }
  if (first) runtime_->eventLoop().post([self = shared_from_this()] { self->takeIncoming(); });
  return task;
}

void CurlEngine::close() {
  closed_ = true;
  {
    const std::lock_guard lock(mutex_);
    if (!used_) return;
  }
  // Never at once, even on the loop's thread: libcurl or one of our own functions may be on its stack.
  runtime_->eventLoop().post([self = shared_from_this()] { self->shutDown(); });
}

void CurlEngine::takeIncoming() {
  std::vector<ExchangeRef> exchanges;
  if (closed_) return;
  {
    const std::lock_guard lock(mutex_);
    exchanges.swap(incoming_);
  }
  if (!machinery_) {
    initialiseCurl();
    // A write to a connection that its peer has closed must be an error, whoever does it below libcurl.
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    auto machinery = std::make_unique<Machinery>(*this, runtime_->eventLoop());
    if (!machinery->multi.isUsable()) {
      for (const auto& exchange : exchanges) {
        exchange->promise.complete(fail(URLSessionError{URLSessionError::Kind::other, "out of memory"}));
      }
      return;
    }
    machinery_ = std::move(machinery);
  }
  for (const auto& exchange : exchanges) {
    if (!exchange->cancelled) start(exchange);
  }
  machinery_->multi.run();
  watchDeadlines();
}

void CurlEngine::start(const ExchangeRef& exchange) {
  underWay_.emplace(exchange->deadline, exchange);
  if (machinery_->idle.empty()) {
    exchange->transfer = std::make_unique<CurlTransfer>(machinery_->options);
    if (!exchange->transfer->isUsable()) {
      exchange->transfer.reset();
      return finish(exchange, fail(URLSessionError{URLSessionError::Kind::other, "out of memory"}));
    }
    machinery_->multi.adopt(exchange->transfer->easy());
  } else {
    exchange->transfer = std::move(machinery_->idle.back());
    machinery_->idle.pop_back();
  }
  startStep(*exchange);
}

void CurlEngine::startStep(Exchange& exchange) {
  const std::string cookies =
      exchange.usesJar ? configuration_.cookieStorage->cookieHeaderFor(*exchange.request.url) : "";
  if (auto fault = exchange.transfer->prepare(exchange.request, cookies, configuration_)) {
    if (exchange.redirects > 0) fault->kind = URLSessionError::Kind::redirectRefused;
    return finish(exchange.shared_from_this(), fail(std::move(*fault)));
  }
  curl_easy_setopt(exchange.transfer->easy(), CURLOPT_PRIVATE, &exchange);
  if (machinery_->multi.add(exchange.transfer->easy())) return;
  finish(exchange.shared_from_this(), fail(URLSessionError{URLSessionError::Kind::other, "out of memory"}));
}

void CurlEngine::stepEnded(CURL* easy, CURLcode code) {
  Exchange* raw = nullptr;
  curl_easy_getinfo(easy, CURLINFO_PRIVATE, &raw);
  const ExchangeRef exchange = raw->shared_from_this();
  if (closed_) return;  // taking the engine down will cancel it

  auto& collected = exchange->transfer->response();
  URL& url = *exchange->request.url;
  if (auto failure = exchange->transfer->failure(code)) return finish(exchange, fail(std::move(*failure)));
  long statusCode = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &statusCode);
  // Over TLS the proxy's own answer is a failed transfer, and a 407 is the server's.
  if (statusCode == 407 && configuration_.proxy && equalIgnoringCase(url.scheme(), "http")) {
    return finish(exchange, fail(URLSessionError{URLSessionError::Kind::cannotConnect, "the proxy answered 407"}));
  }
  if (configuration_.cookieStorage) configuration_.cookieStorage->storeFrom(url, collected.headers());

  auto target =
      redirectTarget(exchange->request, static_cast<int>(statusCode), collected.headers(), exchange->redirects);
  if (!target) return finish(exchange, fail(target.error()));
  if (*target) {
    if (!sameOrigin(url, **target)) dropHeadersOfOrigin(exchange->request.headers);
    url = std::move(**target);
    ++exchange->redirects;
    return startStep(*exchange);
  }
  exchange->response = {.statusCode = static_cast<int>(statusCode),
                        .headers = std::move(collected.headers()),
                        .body = collected.releaseBody(),
                        .url = url};
  if (collected.isGzip() && exchange->response.body) return decode(exchange);
  finish(exchange, std::move(exchange->response));
}

void CurlEngine::decode(const ExchangeRef& exchange) {
  exchange->decoder.emplace(std::move(exchange->response.body), configuration_.maximumBodySize);
  decoding_.push_back(exchange);
  if (decoding_.size() == 1) runtime_->eventLoop().post([self = shared_from_this()] { self->decodeNext(); });
}

// One step of one body in each turn of the loop, so that sockets and deadlines get theirs.
void CurlEngine::decodeNext() {
  if (closed_) return;
  const ExchangeRef exchange = std::move(decoding_.front());
  decoding_.pop_front();
  if (exchange->transfer) {
    const auto complete = exchange->decoder->step();
    if (!complete) {
      finish(exchange, fail(complete.error()));
    } else if (!*complete) {
      decoding_.push_back(exchange);
    } else {
      exchange->response.body = exchange->decoder->releaseBody();
      finish(exchange, std::move(exchange->response));
    }
  }
  if (!decoding_.empty()) runtime_->eventLoop().post([self = shared_from_this()] { self->decodeNext(); });
}

void CurlEngine::finish(const ExchangeRef& exchange, Result<NetworkResponse> result) {
  underWay_.erase({exchange->deadline, exchange});
  if (exchange->transfer && machinery_->idle.size() < configuration_.maximumIdleConnections) {
    exchange->transfer->dropResponse();
    machinery_->idle.push_back(std::move(exchange->transfer));
  }
  exchange->transfer.reset();
  if (Logger::isEnabled(0)) logOutcome(*exchange, result);
  exchange->promise.complete(std::move(result));
}

void CurlEngine::abandon(const ExchangeRef& exchange) {
  if (!exchange->transfer || closed_) return;
  machinery_->multi.remove(exchange->transfer->easy());
  finish(exchange, fail(TaskError::cancelled));
  machinery_->multi.run();
}

void CurlEngine::endOverdue() {
  while (!underWay_.empty() && underWay_.begin()->first <= systemSteadyNow() && !closed_) {
    const ExchangeRef exchange = underWay_.begin()->second;
    machinery_->multi.remove(exchange->transfer->easy());
    finish(exchange, fail(URLSessionError{URLSessionError::Kind::timedOut, {}}));
  }
  machinery_->multi.run();
  watchDeadlines();
}

void CurlEngine::watchDeadlines() {
  if (underWay_.empty()) {
    machinery_->deadline.clear();
  } else {
    machinery_->deadline.set(underWay_.begin()->first);
  }
}

void CurlEngine::shutDown() {
  std::vector<ExchangeRef> cancelled;
  {
    const std::lock_guard lock(mutex_);
    cancelled.swap(incoming_);
  }
  for (const auto& [deadline, exchange] : underWay_) {
    machinery_->multi.remove(exchange->transfer->easy());
    exchange->transfer.reset();
    cancelled.push_back(exchange);
  }
  underWay_.clear();
  decoding_.clear();
  machinery_.reset();
  for (const auto& exchange : cancelled) exchange->promise.complete(fail(TaskError::cancelled));
}

// The path is as far as it goes: a query or a header can hold a token.
void CurlEngine::logOutcome(const Exchange& exchange, const Result<NetworkResponse>& result) {
  const URL& url = *exchange.request.url;
  std::string line(rawValue(exchange.request.method));
  line.append(" ").append(url.host()).append(url.path()).append(" -> ");
  if (result) {
    line.append(std::to_string(result->statusCode)).append(", ");
    line.append(std::to_string(result->body ? result->body->size() : 0)).append(" bytes");
  } else {
    line.append(result.error().typeName());
  }
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(systemSteadyNow() - exchange.started);
  line.append(", ").append(std::to_string(passed.count())).append(" ms");
  Logger::network.log(0, line, "send(_:)");
}

}  // namespace lx
