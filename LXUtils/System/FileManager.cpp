#include "LXUtils/System/FileManager.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace lx {
namespace {

using Kind = FileError::Kind;

Result<Data> readAll(std::FILE* file, const std::string& path, std::size_t maximumSize) {
  // The size is counted while reading: what a file says of its size is wrong for pipes and for files that grow.
  Data data;
  while (true) {
    constexpr std::size_t chunk = std::size_t{64} << 10;
    const auto before = data.size();
    data.resize(before + std::min(chunk, maximumSize - before + 1));
    const auto read = std::fread(data.data() + before, 1, data.size() - before, file);
    data.resize(before + read);
    if (data.size() > maximumSize) return fail(FileError{Kind::tooLarge, path});
    if (std::ferror(file)) return fail(FileError{Kind::unreadable, path});
    if (read == 0) return data;
  }
}

}  // namespace

std::string FileError::typeName() const {
  switch (kind) {
    case Kind::notFound:
      return "FileError.notFound";
    case Kind::unreadable:
      return "FileError.unreadable";
    case Kind::tooLarge:
      return "FileError.tooLarge";
  }
  return "FileError";
}

std::string FileError::description() const {
  switch (kind) {
    case Kind::notFound:
      return "There is no file at " + path;
    case Kind::unreadable:
      return "The file cannot be read: " + path;
    case Kind::tooLarge:
      return "The file is too large: " + path;
  }
  return {};
}

Result<Data> readFile(const std::string& path, std::size_t maximumSize) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
  if (!file) return fail(FileError{errno == ENOENT || errno == ENOTDIR ? Kind::notFound : Kind::unreadable, path});
  return readAll(file.get(), path, maximumSize);
}

Result<Data> readStandardInput(std::size_t maximumSize) { return readAll(stdin, "standard input", maximumSize); }

}  // namespace lx
