#pragma once

#include <cstddef>
#include <memory>

#include <zlib.h>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Decompresses a gzip body (RFC 1952) in steps, so that the caller decides what runs between two of them. A body of a
/// few KiB can become many MiB.
class GzipDecoder {
 public:
  /// `body` is the whole compressed body, `maximumSize` the most bytes that it may become.
  GzipDecoder(std::shared_ptr<const Data> body, std::size_t maximumSize);
  ~GzipDecoder();
  GzipDecoder(const GzipDecoder&) = delete;
  GzipDecoder& operator=(const GzipDecoder&) = delete;

  /// Writes at most 256 KiB. Returns true once the body is complete; a step that returns false is followed by another.
  /// Errors: URLSessionError `badServerResponse`, `bodyTooLarge`, and `other` without memory.
  Result<bool> step();

  /// Moves the decompressed body out. Null when it has no byte.
  std::shared_ptr<const Data> releaseBody();

 private:
  std::size_t expectedSize() const;
  bool makeRoom();

  const std::shared_ptr<const Data> body_;
  const std::size_t maximumSize_;
  std::size_t read_ = 0;
  Data output_;
  z_stream stream_{};
  bool isReady_ = false;
};

}  // namespace lx
