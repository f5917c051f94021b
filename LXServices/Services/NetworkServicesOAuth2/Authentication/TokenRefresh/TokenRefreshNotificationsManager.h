#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Result.h"
#include "LXUtils/System/DarwinNotificationCenter.h"

namespace lx {

/// Tells the processes of the app group how a refresh ended. Any thread.
class TokenRefreshNotificationsManager {
 public:
  virtual ~TokenRefreshNotificationsManager() = default;

  /// From now on `handler` is called on the main queue with each outcome that a process posts: success, or
  /// OAuth2Error::credentialsRefreshGenericError. Replaces the subscription before. `subscriber` tells the subscription
  /// from those that others make later.
  virtual void subscribe(std::uint64_t subscriber, std::function<void(Result<void>)> handler) = 0;

  /// Without effect once another subscriber has taken the place of this one.
  virtual void removeObservers(std::uint64_t subscriber) = 0;

  virtual void postSuccess() = 0;
  virtual void postFailure() = 0;
};

/// Over the app group's notification center.
class TokenRefreshNotificationsManagerImpl final : public TokenRefreshNotificationsManager {
 public:
  static constexpr const char* successName = "com.lexiconia.keyboard.credentialsRefreshSuccess";
  static constexpr const char* failureName = "com.lexiconia.keyboard.credentialsRefreshFailure";

  explicit TokenRefreshNotificationsManagerImpl(std::shared_ptr<DarwinNotificationCenter> notificationsCenter);
  ~TokenRefreshNotificationsManagerImpl() override;
  TokenRefreshNotificationsManagerImpl(const TokenRefreshNotificationsManagerImpl&) = delete;
  TokenRefreshNotificationsManagerImpl& operator=(const TokenRefreshNotificationsManagerImpl&) = delete;

  void subscribe(std::uint64_t subscriber, std::function<void(Result<void>)> handler) override;
  void removeObservers(std::uint64_t subscriber) override;
  void postSuccess() override;
  void postFailure() override;

 private:
  struct Subscriptions {
    std::uint64_t subscriber = 0;
    std::optional<DarwinNotificationCenter::Token> success;
    std::optional<DarwinNotificationCenter::Token> failure;
  };

  void remove(const Subscriptions& subscriptions);

  Protected<Subscriptions> subscriptions_;
  const std::shared_ptr<DarwinNotificationCenter> notificationsCenter_;
};

}  // namespace lx
