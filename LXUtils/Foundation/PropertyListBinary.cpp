#include <algorithm>
#include <cstdint>
#include <vector>

#include "LXUtils/Foundation/PropertyListInternal.h"

namespace lx {
namespace {

using Kind = PropertyListError::Kind;
using Fault = std::optional<Kind>;

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;
constexpr std::uint32_t maximumDepth = 64;
constexpr std::uint64_t maximumExpandedSize = std::uint64_t{16} << 20;
constexpr std::uint64_t sizeOfNode = 64;  // about what libplist spends on one

enum Marker : std::uint8_t {
  integer = 1,
  real = 2,
  date = 3,
  data = 4,
  ascii = 5,
  utf16 = 6,
  uid = 8,
  list = 10,
  dictionary = 13
};

/// One object: its kind, the number of its units and where they begin.
struct Object {
  std::uint8_t marker = 0;
  std::uint64_t count = 0;
  std::uint64_t content = 0;
};

class Walk {
 public:
  explicit Walk(std::span<const std::byte> bytes) : bytes_(bytes) {}

  Fault fault() {
    if (bytes_.size() < headerSize + trailerSize) return Kind::invalid;
    const auto trailer = bytes_.size() - trailerSize;
    offsetSize_ = read(trailer + 6, 1);
    referenceSize_ = read(trailer + 7, 1);
    const auto count = read(trailer + 8, 8);
    const auto root = read(trailer + 16, 8);
    end_ = read(trailer + 24, 8);
    if (!isWidth(offsetSize_) || !isWidth(referenceSize_)) return Kind::invalid;
    if (end_ < headerSize || end_ > trailer || count > (trailer - end_) / offsetSize_) return Kind::invalid;
    visits_.resize(count);
    return visit(root, 1);
  }

 private:
  struct Visit {
    bool underWay = false;
    std::uint32_t height = 0;        // 0 until the object is done
    std::uint64_t expandedSize = 0;  // of the object with all that it refers to
  };

  static bool isWidth(std::uint64_t size) { return size >= 1 && size <= 8; }

  std::uint64_t read(std::uint64_t position, std::uint64_t width) const {
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < width; ++i) value = value << 8 | std::to_integer<std::uint64_t>(bytes_[position + i]);
    return value;
  }

  bool fits(std::uint64_t position, std::uint64_t count, std::uint64_t width) const {
    return position <= end_ && (width == 0 || count <= (end_ - position) / width);
  }

  std::uint64_t widthOfUnit(std::uint8_t marker) const {
    switch (marker) {
      case data:
      case ascii:
        return 1;
      case utf16:
        return 2;
      case list:
        return referenceSize_;
      case dictionary:
        return 2 * referenceSize_;
      default:
        return 0;
    }
  }

  std::optional<Object> object(std::uint64_t index) const {
    if (index >= visits_.size()) return std::nullopt;
    const auto position = read(end_ + index * offsetSize_, offsetSize_);
    if (position < headerSize || !fits(position, 1, 1)) return std::nullopt;
    const auto first = read(position, 1);
    const auto low = first & 15;
    Object object{static_cast<std::uint8_t>(first >> 4), low, position + 1};
    switch (object.marker) {
      case 0:
        return low == 0 || low == 8 || low == 9 ? std::optional(object) : std::nullopt;
      case integer:
        return low <= 4 && fits(object.content, 1, 1ULL << low) ? std::optional(object) : std::nullopt;
      case real:
        return (low == 2 || low == 3) && fits(object.content, 1, 1ULL << low) ? std::optional(object) : std::nullopt;
      case date:
        return low == 3 && fits(object.content, 1, 8) ? std::optional(object) : std::nullopt;
      case uid:
        return low < 8 && fits(object.content, 1, low + 1) ? std::optional(object) : std::nullopt;
      default:
        break;
    }
    const auto width = widthOfUnit(object.marker);
    if (width == 0) return std::nullopt;
    if (low == 15) {
      // A long object gives its count as an integer object of its own.
      if (!fits(object.content, 1, 1)) return std::nullopt;
      const auto next = read(object.content, 1);
      if (next >> 4 != integer || (next & 15) > 3 || !fits(object.content + 1, 1, 1ULL << (next & 15)))
        return std::nullopt;
      const auto bytesOfCount = std::uint64_t{1} << (next & 15);
      object.count = read(object.content + 1, bytesOfCount);
      object.content += 1 + bytesOfCount;
    }
    return fits(object.content, object.count, width) ? std::optional(object) : std::nullopt;
  }

  static bool isText(const Object& object) { return object.marker == ascii || object.marker == utf16; }

  bool isKey(std::uint64_t index) const {
    const auto key = object(index);
    return key && isText(*key);
  }

  /// libplist's texts end at the first NUL.
  bool holdsNUL(const Object& text) const {
    const auto width = widthOfUnit(text.marker);
    for (std::uint64_t i = 0; i < text.count; ++i) {
      if (read(text.content + i * width, width) == 0) return true;
    }
    return false;
  }

  Fault visit(std::uint64_t index, std::uint32_t depth) {
    const auto object = this->object(index);
    if (!object) return Kind::invalid;
    Visit& visit = visits_[index];
    if (visit.underWay) return Kind::invalid;
    if (visit.height == 0) {
      if (depth > maximumDepth) return Kind::tooComplex;
      visit.underWay = true;
      if (const auto fault = expand(*object, visit, depth)) return fault;
      visit.underWay = false;
    }
    return depth + visit.height - 1 > maximumDepth ? Fault(Kind::tooComplex) : std::nullopt;
  }

  Fault expand(const Object& object, Visit& visit, std::uint32_t depth) {
    const bool isDictionary = object.marker == dictionary;
    visit.expandedSize = sizeOfNode + object.count * widthOfUnit(object.marker);
    if (isText(object) && holdsNUL(object)) return Kind::invalid;
    std::uint32_t heightBelow = 0;
    if (isDictionary || object.marker == list) {
      const auto references = isDictionary ? 2 * object.count : object.count;
      for (std::uint64_t i = 0; i < references; ++i) {
        const auto child = read(object.content + i * referenceSize_, referenceSize_);
        if (isDictionary && i < object.count && !isKey(child)) return Kind::invalid;
        if (const auto fault = this->visit(child, depth + 1)) return fault;
        heightBelow = std::max(heightBelow, visits_[child].height);
        visit.expandedSize += visits_[child].expandedSize;
        if (visit.expandedSize > maximumExpandedSize) return Kind::tooComplex;
      }
    }
    visit.height = heightBelow + 1;
    return std::nullopt;
  }

  std::span<const std::byte> bytes_;
  std::uint64_t offsetSize_ = 0, referenceSize_ = 0;
  std::uint64_t end_ = 0;  // of the objects, where the table of their offsets begins
  std::vector<Visit> visits_;
};

}  // namespace

std::optional<Kind> faultOfBinaryPropertyList(std::span<const std::byte> bytes) { return Walk(bytes).fault(); }

}  // namespace lx
