#pragma once

#include <cstddef>
#include <string>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why a file could not be read.
struct FileError {
  enum class Kind {
    notFound,    ///< nothing stands at the path
    unreadable,  ///< no permission, a folder, or a fault of the disk
    tooLarge,    ///< more bytes than the caller takes
  };
  Kind kind = Kind::unreadable;
  std::string path;

  std::string typeName() const;
  std::string description() const;
  bool operator==(const FileError&) const = default;
};

/// The bytes of a file of at most `maximumSize` bytes. Errors: FileError.
Result<Data> readFile(const std::string& path, std::size_t maximumSize);

/// Likewise what is left of the standard input; the error's path is "standard input".
Result<Data> readStandardInput(std::size_t maximumSize);

}  // namespace lx
