#pragma once

#include <chrono>
#include <expected>
#include <map>
#include <memory>
#include <string>

#include "LXTesting/Backend/TokenStoreInternal.h"
#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"

namespace lx::backend {

/// One-time codes, bound to a PKCE challenge by the method S256 (RFC 7636). Thread-safe.
class CodeStore {
 public:
  enum class Refusal {
    unknown,        ///< never issued, expired, or issued to another client
    usedBefore,     ///< redeemed or tried before
    wrongVerifier,  ///< the verifier is not the one behind the challenge; the code is lost with the attempt
  };

  CodeStore(std::shared_ptr<Clock> clock, std::chrono::milliseconds lifetime);

  std::string issue(std::string challenge, Grantee grantee);

  std::expected<Grantee, Refusal> redeem(const std::string& code, const std::string& verifier,
                                         const std::string& clientID);

  /// Remembers what was issued for a redeemed code, so that it can be withdrawn when the code comes again (RFC 6749,
  /// section 4.1.2).
  void remember(const std::string& code, const std::string& refreshToken);
  /// What was remembered; empty when nothing was.
  std::string refreshTokenOf(const std::string& code) const;

 private:
  struct Code {
    std::string challenge;
    Grantee grantee;
    Clock::SteadyTime expiry;
    bool used = false;
    std::string refreshToken;
  };

  const std::shared_ptr<Clock> clock_;
  const std::chrono::milliseconds lifetime_;
  Protected<std::map<std::string, Code>> codes_;
};

}  // namespace lx::backend
