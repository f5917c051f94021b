#pragma once

// How the text of a JSON string is looked at, a block of bytes at a time.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace lx {

inline constexpr std::size_t jsonTextBlock = 16;

inline void copyBlock(const char* from, char* to) { std::memcpy(to, from, jsonTextBlock); }

/// A character without a bit of meaning to JSON, outside the controls and within ASCII.
constexpr bool isPlain(char c) { return static_cast<signed char>(c) >= 0x20 && c != '"' && c != '\\'; }

#ifdef __SSE2__

/// A bit, from the lowest on, for each of some bytes.
using ByteBits = std::uint64_t;

/// The bits of the first `count` bytes.
inline ByteBits firstBytes(unsigned count) { return count == 64 ? ~ByteBits{0} : (ByteBits{1} << count) - 1; }

/// The 16 bytes of a block. Compared as signed numbers, those that continue a UTF-8 sequence are the lowest, then come
/// the leads of two, three and four bytes, then ASCII.
class TextBlock {
 public:
  explicit TextBlock(const char* bytes) : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))) {}

  /// Quotes, backslashes and control characters.
  ByteBits stops() const {
    const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(0x1F)), bytes_);
    return bits(_mm_or_si128(controls, _mm_or_si128(comparedWith('"'), comparedWith('\\'))));
  }
  ByteBits outsideASCII() const { return bits(bytes_); }
  ByteBits equal(int byte) const { return bits(comparedWith(byte)); }
  /// Those outside ASCII that are below this one.
  ByteBits below(int byte) const { return bits(comparedBelow(byte)); }
  /// C0, C1, E0, ED and all from F0 on: leads with rules of their own, and what leads nothing.
  ByteBits unusualLeads() const {
    const __m128i fromF0 = _mm_cmpeq_epi8(_mm_max_epu8(bytes_, _mm_set1_epi8(static_cast<char>(0xF0))), bytes_);
    const __m128i c0AndC1 = _mm_xor_si128(comparedBelow(0xC2), comparedBelow(0xC0));
    return bits(_mm_or_si128(_mm_or_si128(fromF0, c0AndC1), _mm_or_si128(comparedWith(0xE0), comparedWith(0xED))));
  }

 private:
  static ByteBits bits(__m128i mask) { return static_cast<unsigned>(_mm_movemask_epi8(mask)); }
  __m128i comparedWith(int byte) const { return _mm_cmpeq_epi8(bytes_, _mm_set1_epi8(static_cast<char>(byte))); }
  __m128i comparedBelow(int byte) const { return _mm_cmplt_epi8(bytes_, _mm_set1_epi8(static_cast<char>(byte))); }

  __m128i bytes_;
};

/// Four blocks, to be looked at at once: that costs less a byte where few stops come.
class TextWindow {
 public:
  static constexpr std::size_t size = 4 * jsonTextBlock;

  explicit TextWindow(const char* bytes)
      : blocks_{TextBlock(bytes), TextBlock(bytes + jsonTextBlock), TextBlock(bytes + 2 * jsonTextBlock),
                TextBlock(bytes + 3 * jsonTextBlock)} {}

  ByteBits stops() const {
    return all([](const TextBlock& block) { return block.stops(); });
  }
  ByteBits outsideASCII() const {
    return all([](const TextBlock& block) { return block.outsideASCII(); });
  }
  ByteBits equal(int byte) const {
    return all([byte](const TextBlock& block) { return block.equal(byte); });
  }
  ByteBits below(int byte) const {
    return all([byte](const TextBlock& block) { return block.below(byte); });
  }
  ByteBits unusualLeads() const {
    return all([](const TextBlock& block) { return block.unusualLeads(); });
  }

 private:
  template <class Look>
  ByteBits all(Look look) const {
    return look(blocks_[0]) | look(blocks_[1]) << jsonTextBlock | look(blocks_[2]) << (2 * jsonTextBlock) |
           look(blocks_[3]) << (3 * jsonTextBlock);
  }

  std::array<TextBlock, 4> blocks_;
};

/// How many of the first `end` bytes make up whole characters in well-formed UTF-8 (RFC 3629). Before a fault it may
/// stop short of some.
template <class Bytes>
unsigned wholeCharacters(const Bytes& bytes, unsigned end) {
  const ByteBits inside = firstBytes(end);
  const ByteBits outsideASCII = bytes.outsideASCII() & inside;
  if (outsideASCII == 0) return end;
  const ByteBits continuing = bytes.below(0xC0) & inside;
  const ByteBits leads = outsideASCII & ~continuing;
  const ByteBits leadsOfThree = leads & ~bytes.below(0xE0);  // and more
  ByteBits leadsOfFour = 0;
  ByteBits faults = 0;
  if ((bytes.unusualLeads() & inside) != 0) {
    // Overlong forms, surrogates, and what lies above U+10FFFF.
    const ByteBits belowA0 = bytes.below(0xA0);
    const ByteBits below90 = bytes.below(0x90);
    const auto next = [leads, &bytes](int lead) { return (leads & bytes.equal(lead)) << 1U; };
    leadsOfFour = leads & ~bytes.below(0xF0);
    faults = (leads & (bytes.below(0xC2) | ~bytes.below(0xF5))) |
             (inside &
              ((next(0xE0) & belowA0) | (next(0xED) & ~belowA0) | (next(0xF0) & below90) | (next(0xF4) & ~below90)));
  }
  const ByteBits expected = leads << 1U | leadsOfThree << 2U | leadsOfFour << 3U;
  faults |= (expected ^ continuing) & inside;
  if (faults != 0) return static_cast<unsigned>(std::countr_zero(outsideASCII));
  // What is cut off at the end is left for later.
  const bool isCutOff = (expected & ~inside) != 0 || (leads >> 63U | leadsOfThree >> 62U | leadsOfFour >> 61U) != 0;
  return isCutOff ? static_cast<unsigned>(std::bit_width(leads)) - 1 : end;
}

/// How many bytes of the block are text that says itself: whole characters in well-formed UTF-8, without quotes,
/// backslashes and control characters. Before a fault it may stop short of some.
inline unsigned plainTextInBlock(const char* bytes) {
  const TextBlock block(bytes);
  const auto end = static_cast<unsigned>(std::countr_zero(block.stops() | ByteBits{1} << jsonTextBlock));
  return wholeCharacters(block, end);
}

#else

inline unsigned plainTextInBlock(const char* block) {
  unsigned count = 0;
  while (count < jsonTextBlock && isPlain(block[count])) ++count;
  return count;
}

#endif

}  // namespace lx
