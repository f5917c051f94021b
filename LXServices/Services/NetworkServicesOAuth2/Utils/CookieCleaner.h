#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "LXUtils/Logging/Logger.h"
#include "LXUtils/Network/HTTPCookieStorage.h"
#include "LXUtils/Network/HTTPVocabulary.h"

namespace lx {

/// Takes cookies out of the jar by their names.
class CookieCleaner {
 public:
  virtual ~CookieCleaner() = default;

  /// Deletes every cookie that has one of the names, whichever host set it.
  virtual void cleanCookies(const std::vector<HTTPCookieName>& names) = 0;
};

/// Logs each deletion when it has a logger. The jar is the one that sessions use unless set. Any thread.
class CookieCleanerImpl final : public CookieCleaner {
 public:
  explicit CookieCleanerImpl(std::optional<Logger> logger = std::nullopt,
                             std::shared_ptr<HTTPCookieStorage> cookieStorage = HTTPCookieStorage::shared());

  void cleanCookies(const std::vector<HTTPCookieName>& names) override;

 private:
  const std::optional<Logger> logger_;
  const std::shared_ptr<HTTPCookieStorage> cookieStorage_;
};

}  // namespace lx
