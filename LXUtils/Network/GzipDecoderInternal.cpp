#include "LXUtils/Network/GzipDecoderInternal.h"

#include <algorithm>
#include <limits>
#include <new>
#include <span>
#include <utility>

#include "LXUtils/Network/URLSession.h"

namespace lx {
namespace {

constexpr std::size_t longestRead = std::size_t{64} << 10;
constexpr std::size_t longestWrite = std::size_t{256} << 10;

std::unexpected<Error> failure(URLSessionError::Kind kind, const char* details) {
  return fail(URLSessionError{kind, details});
}

}  // namespace

GzipDecoder::GzipDecoder(std::shared_ptr<const Data> body, std::size_t maximumSize)
    : body_(std::move(body)), maximumSize_(std::min(maximumSize, std::numeric_limits<std::size_t>::max() / 4)) {
  constexpr int gzipOnly = 16;  // zlib's notation, added to the window
  isReady_ = inflateInit2(&stream_, MAX_WBITS + gzipOnly) == Z_OK;
}

GzipDecoder::~GzipDecoder() { inflateEnd(&stream_); }

Result<bool> GzipDecoder::step() {
  using enum URLSessionError::Kind;
  if (!isReady_ || !makeRoom()) return failure(other, "out of memory");
  const auto written = output_.size();
  const auto room = std::min(longestWrite, output_.capacity() - written);
  const auto input = std::span(*body_).subspan(read_).first(std::min(longestRead, body_->size() - read_));
  output_.resize(written + room);
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(input.data()));
  stream_.avail_in = static_cast<uInt>(input.size());
  stream_.next_out = reinterpret_cast<Bytef*>(output_.data() + written);
  stream_.avail_out = static_cast<uInt>(room);

  const int code = inflate(&stream_, Z_NO_FLUSH);
  const bool isStarved = stream_.avail_out > 0;
  read_ += input.size() - stream_.avail_in;
  output_.resize(written + room - stream_.avail_out);
  if (output_.size() > maximumSize_) return failure(bodyTooLarge, "");
  const bool isAtEnd = read_ == body_->size();
  if (code == Z_STREAM_END) {
    if (!isAtEnd) inflateReset(&stream_);  // another member follows
    return isAtEnd;
  }
  if ((code != Z_OK && code != Z_BUF_ERROR) || (isAtEnd && isStarved)) return failure(badServerResponse, "no gzip");
  return false;
}

std::shared_ptr<const Data> GzipDecoder::releaseBody() {
  return output_.empty() ? nullptr : std::make_shared<const Data>(std::exchange(output_, Data()));
}

/// What the body says of its size, as far as so many bytes can become so much.
std::size_t GzipDecoder::expectedSize() const {
  constexpr std::size_t highestRatio = 1032;
  std::size_t size = 0;
  for (std::size_t i = 0; i < 4 && i < body_->size(); ++i) {
    size = size << 8 | std::to_integer<std::size_t>((*body_)[body_->size() - 1 - i]);
  }
  return std::min(size, body_->size() * highestRatio);
}

/// Makes room for a byte at least, and for one beyond the largest body, which shows that a body is larger.
bool GzipDecoder::makeRoom() {
  if (output_.size() < output_.capacity()) return true;
  const auto wanted = output_.empty() ? expectedSize() + 1 : 2 * output_.capacity();
  try {
    output_.reserve(std::min(wanted, maximumSize_ + 1));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace lx
