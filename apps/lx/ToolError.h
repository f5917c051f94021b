#pragma once

#include <string>

namespace lx::tool {

/// What goes wrong in the tool itself.
struct ToolError {
  enum class Kind {
    noHome,        ///< there is no folder of the user in which the group's could be
    group,         ///< the group's folder cannot be made
    output,        ///< standard output cannot be written
    memory,        ///< the system has no more of it
    system,        ///< the system refuses a thread, a descriptor or the like
    notStored,     ///< new credentials were obtained and could not be stored
    secret,        ///< a secret cannot be read from where it is said to be
    noLegacyData,  ///< nothing of the cookie era is stored
    demo,          ///< a step of the tour did not do what it promises
  };
  Kind kind = Kind::demo;
  std::string message;

  std::string typeName() const;
  std::string description() const { return message; }
  bool operator==(const ToolError&) const = default;
};

inline std::string ToolError::typeName() const {
  switch (kind) {
    case Kind::noHome:
      return "ToolError.noHome";
    case Kind::group:
      return "ToolError.group";
    case Kind::output:
      return "ToolError.output";
    case Kind::memory:
      return "ToolError.memory";
    case Kind::system:
      return "ToolError.system";
    case Kind::notStored:
      return "ToolError.notStored";
    case Kind::secret:
      return "ToolError.secret";
    case Kind::noLegacyData:
      return "ToolError.noLegacyData";
    case Kind::demo:
      break;
  }
  return "ToolError.demo";
}

}  // namespace lx::tool
