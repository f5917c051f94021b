#pragma once

#include <memory>

#include "LXTesting/Backend/AccountsInternal.h"
#include "LXTesting/Backend/CodeStoreInternal.h"
#include "LXTesting/Backend/SettingsStoreInternal.h"
#include "LXTesting/Backend/TokenStoreInternal.h"
#include "LXTesting/DevBackendOptions.h"

namespace lx::backend {

/// Everything that the routes remember between requests.
struct World {
  World(const std::shared_ptr<Clock>& clock, const DevBackendOptions& options)
      : accounts(options.users),
        tokens(clock, options.tokenLifetime, options.refreshGrace),
        codes(clock, options.codeLifetime),
        cookies(options.cookies),
        appRedirectURI(options.appRedirectURI) {}

  Accounts accounts;
  TokenStore tokens;
  CodeStore codes;
  SettingsStore settings;
  Protected<DevCookies> cookies;
  const std::string appRedirectURI;
};

}  // namespace lx::backend
