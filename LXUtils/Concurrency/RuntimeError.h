#pragma once

#include <string>

namespace lx {

/// Why the threads of the library cannot serve a call. Nothing was queued for it. A later call tries again, except in a
/// forked process.
struct RuntimeError {
  enum class Kind {
    noThread,      ///< a thread could not be started: a limit on processes or on memory
    noDescriptor,  ///< a file descriptor could not be opened: a limit on open files
    forked,        ///< the object was made before a fork, in the parent, and the threads are there
  };
  Kind kind = Kind::noThread;
  std::string details;  ///< the system's description of the fault; empty for `forked`

  std::string typeName() const;
  std::string description() const;
  bool operator==(const RuntimeError&) const = default;
};

}  // namespace lx
