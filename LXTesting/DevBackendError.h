#pragma once

#include <string>

namespace lx {

/// Why the development backend could not start or do what it was asked.
struct DevBackendError {
  enum class Kind {
    certificate,  ///< the certificate authority could not be made
    caFile,       ///< its certificate could not be written
    socket,       ///< no loopback port could be opened
    unknownUser   ///< no user of that key or identifier
  };

  Kind kind = Kind::socket;
  std::string message;

  std::string typeName() const;
  std::string description() const { return message; }
  bool operator==(const DevBackendError&) const = default;
};

}  // namespace lx
