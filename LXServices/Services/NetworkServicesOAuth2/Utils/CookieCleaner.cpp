#include "LXServices/Services/NetworkServicesOAuth2/Utils/CookieCleaner.h"

#include <utility>

#include "LXUtils/Network/HTTPCookie.h"

namespace lx {

CookieCleanerImpl::CookieCleanerImpl(std::optional<Logger> logger, std::shared_ptr<HTTPCookieStorage> cookieStorage)
    : logger_(logger), cookieStorage_(std::move(cookieStorage)) {}

void CookieCleanerImpl::cleanCookies(const std::vector<HTTPCookieName>& names) {
  for (const auto& name : names) {
    for (const auto& cookie : cookieStorage_->all()) {
      if (cookie.name != name.rawValue) continue;
      cookieStorage_->deleteCookie(cookie);
      if (logger_) logger_->log(1, "Did delete cookie: " + cookie.name, "cleanCookies(_:)");
    }
  }
}

}  // namespace lx
