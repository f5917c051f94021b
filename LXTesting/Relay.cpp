#include "LXTesting/Relay.h"

#include <algorithm>
#include <list>
#include <thread>

#include "LXTesting/Backend/RelayChannelInternal.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx {

using backend::Descriptor;
using backend::RelayChannel;

namespace {

struct Connection {
  Descriptor client;
  Descriptor server;
  RelayChannel toServer;
  RelayChannel toClient;
  RelayChannel::Verdict verdict = RelayChannel::Verdict::goOn;

  RelayChannel& channel(Relay::Direction direction) {
    return direction == Relay::Direction::toServer ? toServer : toClient;
  }

  bool isOver() const {
    return verdict != RelayChannel::Verdict::goOn || (toServer.isFinished() && toClient.isFinished());
  }
};

}  // namespace

/// The thread and what it shares with callers. Callers change the state under its lock and wake the thread.
class Relay::Loop {
 public:
  Loop(Descriptor listener, std::uint16_t targetPort)
      : listener_(std::move(listener)), port_(backend::boundPort(listener_)), targetPort_(targetPort) {}

  void start() {
    thread_ = std::thread([this] { run(); });
  }

  ~Loop() {
    change([](State& state) { state.stopping = true; });
    thread_.join();
  }

  std::uint16_t port() const { return port_; }

  struct State {
    std::vector<Rule> rules;
    std::list<Connection> connections;
    std::int64_t accepted = 0;
    bool stopping = false;
  };

  template <class Change>
  void change(const Change& make) {
    state_.withLock(make);
    wake_.set();
  }

  template <class Read>
  auto read(const Read& look) const {
    return state_.withLock(look);
  }

 private:
  void run();
  void accept(State& state) const;
  void moveBytes(State& state) const;
  int describe(const State& state, std::vector<pollfd>& watched) const;

  const std::shared_ptr<Clock> clock_ = Clock::system();
  const Descriptor listener_;
  const std::uint16_t port_;
  const std::uint16_t targetPort_;
  backend::StopEvent wake_;
  Protected<State> state_;
  std::thread thread_;
};

void Relay::Loop::run() {
  std::vector<pollfd> watched;
  bool stopping = false;
  while (!stopping) {
    wake_.clear();
    const int milliseconds = state_.withLock([&](State& state) {
      accept(state);
      moveBytes(state);
      stopping = state.stopping;
      return describe(state, watched);
    });
    if (!stopping) backend::waitForEvents(watched, milliseconds);
  }
}

void Relay::Loop::accept(State& state) const {
  while (Descriptor client = backend::acceptConnection(listener_)) {
    Descriptor server = backend::connectToLoopback(targetPort_);
    const auto number = ++state.accepted;
    if (!server) continue;
    auto& connection = state.connections.emplace_back();
    connection.client = std::move(client);
    connection.server = std::move(server);
    for (const auto& rule : state.rules) {
      if (!rule.connection || *rule.connection == number) connection.channel(rule.direction).addRule(rule);
    }
  }
}

void Relay::Loop::moveBytes(State& state) const {
  const auto now = clock_->steadyNow();
  for (auto& connection : state.connections) {
    connection.verdict = connection.toServer.move(connection.client, connection.server, now);
    if (connection.verdict != RelayChannel::Verdict::goOn) continue;
    connection.verdict = connection.toClient.move(connection.server, connection.client, now);
  }
  for (auto& connection : state.connections) {
    if (connection.verdict != RelayChannel::Verdict::reset) continue;
    connection.client.reset();
    connection.server.reset();
  }
  state.connections.remove_if([](const Connection& connection) { return connection.isOver(); });
}

/// What to wait for, and how long at most in milliseconds.
int Relay::Loop::describe(const State& state, std::vector<pollfd>& watched) const {
  const auto now = clock_->steadyNow();
  std::optional<Clock::SteadyTime> next;
  watched.assign({{wake_.descriptor(), POLLIN, 0}, {listener_.get(), POLLIN, 0}});
  const auto watch = [&](const Descriptor& socket, const RelayChannel& from, const RelayChannel& to) {
    const auto events = (from.wantsToRead() ? POLLIN : 0) | (to.wantsToWrite(now) ? POLLOUT : 0);
    // Without an interest, poll would still report a hang-up, over and over.
    if (events != 0) watched.push_back({socket.get(), static_cast<short>(events), 0});
    if (const auto turn = to.nextTurn(now); turn && (!next || *turn < *next)) next = turn;
  };
  for (const auto& connection : state.connections) {
    watch(connection.client, connection.toServer, connection.toClient);
    watch(connection.server, connection.toClient, connection.toServer);
  }
  if (!next) return -1;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - now).count();
  return static_cast<int>(std::clamp<std::int64_t>(wait, 0, 60'000));
}

Result<std::unique_ptr<Relay>> Relay::start(std::uint16_t targetPort, std::uint16_t port) {
  auto listener = backend::listenOnLoopback(port);
  if (!listener) return fail(listener.error());
  auto loop = std::make_unique<Loop>(std::move(*listener), targetPort);
  loop->start();
  return std::unique_ptr<Relay>(new Relay(std::move(loop)));
}

Relay::Relay(std::unique_ptr<Loop> loop) : loop_(std::move(loop)) {}
Relay::~Relay() = default;

std::uint16_t Relay::port() const { return loop_->port(); }
std::string Relay::address() const { return "127.0.0.1:" + std::to_string(port()); }

void Relay::addRule(Rule rule) {
  loop_->change([&](Loop::State& state) { state.rules.push_back(rule); });
}

void Relay::clearRules() {
  loop_->change([](Loop::State& state) { state.rules.clear(); });
}

void Relay::disrupt(Effect effect, Direction direction) {
  loop_->change([&](Loop::State& state) {
    for (auto& connection : state.connections) {
      auto& channel = connection.channel(direction);
      channel.addRule({.effect = effect, .direction = direction, .offset = channel.offset(), .connection = {}});
    }
  });
}

void Relay::release() {
  loop_->change([](Loop::State& state) {
    for (auto& connection : state.connections) {
      connection.toServer.release();
      connection.toClient.release();
    }
  });
}

std::int64_t Relay::connectionCount() const {
  return loop_->read([](const Loop::State& state) { return state.accepted; });
}

std::int64_t Relay::openConnections() const {
  return loop_->read([](const Loop::State& state) { return static_cast<std::int64_t>(state.connections.size()); });
}

}  // namespace lx
