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

  enum class Overflow { none, headers, body };

  void reset(std::size_t maximumBodySize);

  /// Each returns false when a limit is passed, and from then on.
  bool takeHeaderLine(std::string_view line);
  bool takeBody(std::span<const std::byte> chunk);

  Overflow overflow() const { return overflow_; }
  /// True once all headers of the response that counts are there.
  bool hasHeaders() const { return complete_; }

  HTTPHeaders& headers() { return headers_; }

  /// Moves the body out. Null when no byte came.
  std::shared_ptr<const Data> releaseBody();

 private:
  void makeRoom(std::size_t size);

  HTTPHeaders headers_;
  Data body_;
  std::size_t maximumBodySize_ = 0;
  std::size_t headerBytes_ = 0;
  bool interim_ = true;
  bool complete_ = false;  // the block that counts has ended
  Overflow overflow_ = Overflow::none;
};

}  // namespace lx
