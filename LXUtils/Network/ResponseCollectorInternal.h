#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {

/// Gathers one response from the header lines and body chunks in which it comes. Of several header blocks the last one
/// that is not interim (1xx) counts; trailers are left out.
class ResponseCollector {
 public:
  static constexpr std::size_t maximumHeaderFields = 512;
  static constexpr std::size_t maximumHeaderBytes = std::size_t{256} << 10;  ///< of all blocks together

  /// Why the rest of a response is refused.
  enum class Fault {
    none,
    headers,  ///< too many
    coding,   ///< another than the one gzip that is asked for
    body,     ///< beyond the limit
    memory,   ///< none left for the body
  };

  void reset(std::size_t maximumBodySize);

  /// Each returns false when there is a fault, and from then on.
  bool takeHeaderLine(std::string_view line);
  bool takeBody(std::span<const std::byte> chunk);

  Fault fault() const { return fault_; }
  /// True once all headers of the response that counts are there.
  bool hasHeaders() const { return complete_; }

  /// True when the body is compressed, as it came.
  bool isGzip() const { return isGzip_; }
  HTTPHeaders& headers() { return headers_; }

  /// Moves the body out. Null when no byte came.
  std::shared_ptr<const Data> releaseBody();

 private:
  void headersEnded();
  bool makeRoom(std::size_t size);

  HTTPHeaders headers_;
  Data body_;
  std::size_t maximumBodySize_ = 0;
  std::size_t headerBytes_ = 0;
  bool interim_ = true;
  bool complete_ = false;  // the block that counts has ended
  bool isGzip_ = false;
  Fault fault_ = Fault::none;
};

}  // namespace lx
