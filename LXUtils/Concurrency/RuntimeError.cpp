#include "LXUtils/Concurrency/RuntimeError.h"

namespace lx {

std::string RuntimeError::typeName() const {
  switch (kind) {
    case Kind::noThread:
      return "RuntimeError.noThread";
    case Kind::noDescriptor:
      return "RuntimeError.noDescriptor";
    case Kind::forked:
      break;
  }
  return "RuntimeError.forked";
}

std::string RuntimeError::description() const {
  switch (kind) {
    case Kind::noThread:
      return "No thread can be started (" + details + ")";
    case Kind::noDescriptor:
      return "No file descriptor can be opened (" + details + ")";
    case Kind::forked:
      break;
  }
  return "The process was forked and has none of its parent's threads";
}

}  // namespace lx
