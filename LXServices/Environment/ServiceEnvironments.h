#pragma once

#include <string>

#include "LXServices/Environment/BackendDomains.h"
#include "LXUtils/Foundation/Result.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

// The base URLs of each service for each client. Whatever cannot be formed from the domains fails with an UnwrapError.

/// The log of front-end events.
struct SabletBackendEnvironment {
  URL baseURL;
  URL metricsURL;
  URL loggingURL;

  static Result<SabletBackendEnvironment> make(URL baseURL);
  static Result<SabletBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<SabletBackendEnvironment> iOSRetail(const BackendDomains& domains);
  static Result<SabletBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const SabletBackendEnvironment&) const = default;
};

/// Front-end metrics.
struct QuorrelBackendEnvironment {
  std::string prefix;  ///< of the client build's metric names
  URL baseURL;

  static Result<QuorrelBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<QuorrelBackendEnvironment> iOSRetail(const BackendDomains& domains);
  static Result<QuorrelBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const QuorrelBackendEnvironment&) const = default;
};

/// Analytics events.
struct ThrubBackendEnvironment {
  std::string clientName;
  URL eventsURL;
  URL liteURL;

  static Result<ThrubBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<ThrubBackendEnvironment> iOSRetail(const BackendDomains& domains);
  static Result<ThrubBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const ThrubBackendEnvironment&) const = default;
};

/// The authentication service and its pages on the web.
struct AuthBackendEnvironment {
  struct Pages {
    URL signInURL;
    URL signUpURL;
    URL joinLexiconiaBusinessURL;

    static Result<Pages> iOS(const BackendDomains& domains);
    static Result<Pages> macExtension(const BackendDomains& domains);

    bool operator==(const Pages&) const = default;
  };

  URL baseURL;
  Pages pages;

  static Result<AuthBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<AuthBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const AuthBackendEnvironment&) const = default;
};

/// Legal and help pages.
struct InfoBackendEnvironment {
  URL privacyURL;
  URL termsURL;
  URL licensesURL;
  URL supportURL;
  URL supportCreateTicketURL;
  URL supportConnectionErrorURL;
  URL explaingPermissionsURL;

  static Result<InfoBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<InfoBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const InfoBackendEnvironment&) const = default;
};

/// The core API. The domains' `corvaSubdomain` takes effect on the web socket alone, and only when all its characters
/// may stand in a host.
struct CorvaBackendEnvironment {
  URL wssURL;
  URL httpsURL;

  static Result<CorvaBackendEnvironment> iOSApp(const BackendDomains& domains);
  static Result<CorvaBackendEnvironment> iOSKeyboard(const BackendDomains& domains);
  static Result<CorvaBackendEnvironment> iOSSafariExtension(const BackendDomains& domains);
  static Result<CorvaBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const CorvaBackendEnvironment&) const = default;
};

/// The embedded document editor.
struct KestronaEditorBackendEnvironment {
  URL baseURL;
  URL betaBaseURL;
  URL stagingBaseURL;
  URL localBaseURL;

  static Result<KestronaEditorBackendEnvironment> iOS(const BackendDomains& domains);
  static Result<KestronaEditorBackendEnvironment> macExtension(const BackendDomains& domains);

  bool operator==(const KestronaEditorBackendEnvironment&) const = default;
};

}  // namespace lx
