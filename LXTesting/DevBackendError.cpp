#include "LXTesting/DevBackendError.h"

namespace lx {

std::string DevBackendError::typeName() const {
  switch (kind) {
    case Kind::certificate:
      return "DevBackendError.certificate";
    case Kind::caFile:
      return "DevBackendError.caFile";
    case Kind::socket:
      return "DevBackendError.socket";
    case Kind::unknownUser:
      return "DevBackendError.unknownUser";
  }
  return "DevBackendError";
}

}  // namespace lx
