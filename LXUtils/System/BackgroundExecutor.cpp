#include "LXUtils/System/BackgroundExecutor.h"

#include <utility>

namespace lx {

BackgroundExecutor::Identifier BackgroundExecutorExtension::beginBackgroundTask(
    std::string name, std::function<void()> expirationHandler) {
  return state_.withLock([&](State& state) {
    state.tasks.emplace(++state.last, OpenTask{std::move(name), std::move(expirationHandler)});
    return state.last;
  });
}

void BackgroundExecutorExtension::endBackgroundTask(Identifier identifier) {
  // The handler is destroyed after the lock is released: what it holds may call back.
  const auto ended = state_.withLock([&](State& state) { return state.tasks.extract(identifier); });
}

void BackgroundExecutorExtension::expireAll() {
  const auto open = state_.withLock([](const State& state) {
    std::vector<Identifier> identifiers;
    identifiers.reserve(state.tasks.size());
    for (const auto& [identifier, task] : state.tasks) identifiers.push_back(identifier);
    return identifiers;
  });
  // Each is looked up when its turn comes, since a handler may end other tasks.
  for (const auto identifier : open) {
    const auto handler = state_.withLock([&](State& state) {
      const auto found = state.tasks.find(identifier);
      return found == state.tasks.end() ? nullptr : std::exchange(found->second.expirationHandler, nullptr);
    });
    if (handler) handler();
  }
}

std::vector<std::string> BackgroundExecutorExtension::openTasks() const {
  return state_.withLock([](const State& state) {
    std::vector<std::string> names;
    names.reserve(state.tasks.size());
    for (const auto& [identifier, task] : state.tasks) names.push_back(task.name);
    return names;
  });
}

}  // namespace lx
