#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshBackgroundTaskInternal.h"

namespace lx {

RefreshBackgroundTask::RefreshBackgroundTask(std::shared_ptr<BackgroundExecutor> executor)
    : executor_(std::move(executor)) {}

RefreshBackgroundTask::~RefreshBackgroundTask() {
  const auto identifier = state_.withLock([](const State& state) { return state.identifier; });
  if (identifier) executor_->endBackgroundTask(*identifier);
}

void RefreshBackgroundTask::begin(const std::shared_ptr<RefreshBackgroundTask>& task) {
  const auto identifier = task->executor_->beginBackgroundTask("Token Refresh", [weak = std::weak_ptr(task)] {
    if (const auto alive = weak.lock()) alive->expire();
  });
  const bool isOver = task->state_.withLock([&](State& state) {
    const bool over = state.hasExpired || state.hasEnded;
    if (!over) state.identifier = identifier;
    return over;
  });
  if (isOver) task->executor_->endBackgroundTask(identifier);
}

void RefreshBackgroundTask::end() {
  const auto identifier = state_.withLock([](State& state) {
    state.hasEnded = true;
    return std::exchange(state.identifier, std::nullopt);
  });
  if (identifier) {
    executor_->endBackgroundTask(*identifier);
  } else {
    logger_.log(3, "Unbalanced call to end background task", "endBackgroundTask()");
  }
}

void RefreshBackgroundTask::expire() {
  std::optional<BackgroundExecutor::Identifier> identifier;
  const bool hasEnded = state_.withLock([&](State& state) {
    state.hasExpired = true;
    identifier = std::exchange(state.identifier, std::nullopt);
    return state.hasEnded;
  });
  if (hasEnded) return;
  logger_.log(4, "Background Refresh Task has reached timeout", "refreshStep(credentials:)");
  if (identifier) executor_->endBackgroundTask(*identifier);
}

}  // namespace lx
