#pragma once

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
  /// OAuth2Error::credentialsRefreshGenericError. Replaces the subscription before.
  virtual void subscribe(std::function<void(Result<void>)> handler) = 0;

  virtual void removeObservers() = 0;

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

  void subscribe(std::function<void(Result<void>)> handler) override;
  void removeObservers() override;
  void postSuccess() override;
  void postFailure() override;

 private:
  struct Subscriptions {
    std::optional<DarwinNotificationCenter::Token> success;
    std::optional<DarwinNotificationCenter::Token> failure;
  };

  void replaceSubscriptions(Subscriptions subscriptions);

  Protected<Subscriptions> subscriptions_;
  const std::shared_ptr<DarwinNotificationCenter> notificationsCenter_;
};

}  // namespace lx
