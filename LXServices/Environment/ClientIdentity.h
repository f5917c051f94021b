#pragma once

#include <string>

#include "LXServices/Environment/BackendDomains.h"

namespace lx {

/// Which surface of the product calls.
struct ClientIdentity {
  std::string type;    ///< the client type in requests, and the OAuth client id
  std::string name;    ///< the name in analytics
  std::string origin;  ///< the web origin that the client presents, "https://" and a host

  static ClientIdentity iOS(const BackendDomains& domains);
  static ClientIdentity macExtension(const BackendDomains& domains);

  bool operator==(const ClientIdentity&) const = default;
};

}  // namespace lx
