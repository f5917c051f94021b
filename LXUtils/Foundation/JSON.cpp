#include "LXUtils/Foundation/JSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory_resource>
#include <string>
#include <vector>

#include <boost/json/basic_parser_impl.hpp>

#include "LXUtils/Foundation/CodingError.h"
#include "LXUtils/Foundation/Data.h"

namespace lx {

/// A value with the key it stands under, if any. The children of a container lie side by side.
struct JSONNode {
  std::string_view key() const { return {keyData, keySize}; }
  std::string_view text() const { return {content.text, size}; }
  std::span<const JSONNode> children() const { return {content.children, size}; }

  const char* keyData = nullptr;
  std::uint32_t keySize = 0;
  std::uint32_t size = 0;  // of the text, or the number of children
  union {
    bool boolean;
    std::int64_t integer;
    double real;
    const char* text;
    const JSONNode* children;
  } content = {};
  JSONValue::Kind kind = JSONValue::Kind::null;
  bool isInteger = false;
};

struct JSONDocument::Storage {
  Storage() : arena(firstBlock.data(), firstBlock.size()) {}

  std::array<std::byte, 4096> firstBlock;
  std::pmr::monotonic_buffer_resource arena;
  JSONNode root;
};

namespace {

using Kind = JSONValue::Kind;
using ErrorCode = boost::json::error_code;
using Text = boost::json::string_view;

std::string_view view(Text text) { return {text.data(), text.size()}; }

/// Builds the nodes from the parser's events. Boost.JSON's own tree is not used: its numbers are off by one in the last
/// place now and then, and these nodes are smaller and need no allocation for texts without escapes.
class NodeBuilder {
 public:
  // The parser asks for these; the size of the whole text is bounded already.
  static constexpr std::size_t max_object_size = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t max_array_size = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t max_key_size = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t max_string_size = std::numeric_limits<std::uint32_t>::max();

  NodeBuilder(std::string_view input, std::size_t maxValues, std::pmr::memory_resource& arena, JSONNode& root)
      : input_(input), maxValues_(maxValues), arena_(arena), root_(root), stack_(&scratch_) {
    stack_.reserve(64);
  }

  bool limitReached() const { return limitReached_; }

  bool on_document_begin(ErrorCode&) { return true; }
  bool on_document_end(ErrorCode&) {
    root_ = stack_.back();
    return true;
  }
  bool on_object_begin(ErrorCode& ec) { return push(Kind::object, ec) != nullptr; }
  bool on_object_end(std::size_t count, ErrorCode&) { return close(count); }
  bool on_array_begin(ErrorCode& ec) { return push(Kind::array, ec) != nullptr; }
  bool on_array_end(std::size_t count, ErrorCode&) { return close(count); }
  bool on_key_part(Text part, std::size_t, ErrorCode&) { return append(part); }
  bool on_key(Text text, std::size_t, ErrorCode&) {
    key_ = keep(text);
    return true;
  }
  bool on_string_part(Text part, std::size_t, ErrorCode&) { return append(part); }
  bool on_string(Text text, std::size_t, ErrorCode& ec) {
    const std::string_view kept = keep(text);
    JSONNode* node = push(Kind::string, ec);
    if (!node) return false;
    node->content.text = kept.data();
    node->size = static_cast<std::uint32_t>(kept.size());
    return true;
  }
  bool on_number_part(Text part, ErrorCode&) { return append(part); }
  bool on_int64(std::int64_t value, Text, ErrorCode& ec) {
    parts_.clear();
    JSONNode* node = push(Kind::number, ec);
    if (!node) return false;
    node->content.integer = value;
    node->isInteger = true;
    return true;
  }
  bool on_uint64(std::uint64_t value, Text, ErrorCode& ec) {
    parts_.clear();
    return pushReal(static_cast<double>(value), ec);
  }
  bool on_double(double approximation, Text text, ErrorCode& ec) {
    parts_ += view(text);
    double exact = 0;
    const auto [end, error] = std::from_chars(parts_.data(), parts_.data() + parts_.size(), exact);
    // Both an overflow and an underflow are out of range to from_chars.
    const double value = error == std::errc() ? exact : approximation;
    parts_.clear();
    if (!std::isfinite(value)) {
      ec = boost::json::error::exponent_overflow;
      return false;
    }
    return pushReal(value, ec);
  }
  bool on_bool(bool value, ErrorCode& ec) {
    JSONNode* node = push(Kind::boolean, ec);
    if (!node) return false;
    node->content.boolean = value;
    return true;
  }
  bool on_null(ErrorCode& ec) { return push(Kind::null, ec) != nullptr; }
  bool on_comment_part(Text, ErrorCode&) { return true; }
  bool on_comment(Text, ErrorCode&) { return true; }

 private:
  JSONNode* push(Kind kind, ErrorCode& ec) {
    if (valueCount_++ == maxValues_) {
      limitReached_ = true;
      ec = boost::json::error::array_too_large;
      return nullptr;
    }
    JSONNode& node = stack_.emplace_back();
    node.keyData = key_.data();
    node.keySize = static_cast<std::uint32_t>(key_.size());
    node.kind = kind;
    key_ = {};
    return &node;
  }

  bool pushReal(double value, ErrorCode& ec) {
    JSONNode* node = push(Kind::number, ec);
    if (node) node->content.real = value;
    return node != nullptr;
  }

  /// Moves the last `count` nodes to the arena; the node before them is their container.
  bool close(std::size_t count) {
    const auto first = stack_.end() - static_cast<std::ptrdiff_t>(count);
    JSONNode& container = *(first - 1);
    if (count > 0) {
      auto* children = static_cast<JSONNode*>(arena_.allocate(count * sizeof(JSONNode), alignof(JSONNode)));
      std::uninitialized_copy(first, stack_.end(), children);
      container.content.children = children;
      container.size = static_cast<std::uint32_t>(count);
    }
    stack_.erase(first, stack_.end());
    return true;
  }

  bool append(Text part) {
    parts_ += view(part);
    return true;
  }

  /// A text that lies in the input as it is needs no copy; one with escapes arrives in parts from elsewhere.
  std::string_view keep(Text last) {
    const bool isInInput = !std::less<>()(last.data(), input_.data()) &&
                           !std::less<>()(input_.data() + input_.size(), last.data() + last.size());
    if (parts_.empty() && isInInput) return view(last);
    parts_ += view(last);
    if (parts_.empty()) return {};
    auto* copy = static_cast<char*>(arena_.allocate(parts_.size(), 1));
    std::ranges::copy(parts_, copy);
    const std::string_view kept(copy, parts_.size());
    parts_.clear();
    return kept;
  }

  std::string_view input_;
  std::size_t maxValues_;
  std::size_t valueCount_ = 0;
  bool limitReached_ = false;
  std::pmr::memory_resource& arena_;
  JSONNode& root_;
  std::string_view key_;
  std::string parts_;
  std::array<std::byte, 4096> scratchBlock_;
  std::pmr::monotonic_buffer_resource scratch_{scratchBlock_.data(), scratchBlock_.size()};
  std::pmr::vector<JSONNode> stack_;
};

/// Makes exponents that the parser cannot count as large as it can: infinite and 0 they are in either case. Answers
/// whether there were any.
bool limitExponents(std::span<char> text) {
  constexpr std::size_t countable = 9;  // digits
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  bool isChanged = false;
  bool isInString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') isInString = !isInString;
    if (isInString && text[i] == '\\') ++i;
    if (isInString || i >= text.size() || (text[i] != 'e' && text[i] != 'E')) continue;
    std::size_t begin = i + 1;
    if (begin < text.size() && (text[begin] == '+' || text[begin] == '-')) ++begin;
    while (begin < text.size() && text[begin] == '0') ++begin;
    std::size_t end = begin;
    while (end < text.size() && isDigit(text[end])) ++end;
    if (end - begin <= countable) continue;
    std::ranges::fill(text.subspan(begin, end - begin - countable), '0');
    std::ranges::fill(text.subspan(end - countable, countable), '9');
    isChanged = true;
  }
  return isChanged;
}

std::unexpected<Error> refuse(std::string path, DecodingFault fault) {
  return fail(DecodingError{std::move(path), fault});
}

}  // namespace

Result<JSONDocument> JSONDocument::parse(std::string_view text, const JSONLimits& limits) {
  auto storage = std::make_unique<Storage>();
  if (text.size() <= limits.maxSize && !text.empty()) {
    auto* copy = static_cast<char*>(storage->arena.allocate(text.size(), 1));
    std::ranges::copy(text, copy);
    text = {copy, text.size()};
  }
  return parse(text, limits, std::move(storage));
}

Result<JSONDocument> JSONDocument::parse(std::span<const std::byte> text, const JSONLimits& limits) {
  return parse(textView(text), limits);
}

Result<JSONDocument> JSONDocument::parseInPlace(std::string_view text, const JSONLimits& limits) {
  return parse(text, limits, std::make_unique<Storage>());
}

Result<JSONDocument> JSONDocument::parse(std::string_view text, const JSONLimits& limits,
                                         std::unique_ptr<Storage> storage) {
  if (text.size() > std::min<std::size_t>(limits.maxSize, std::numeric_limits<std::uint32_t>::max())) {
    return refuse({}, DecodingFault::outOfRange);
  }
  boost::json::parse_options options;
  options.max_depth = limits.maxDepth;
  boost::json::basic_parser<NodeBuilder> parser(options, text, limits.maxValues, storage->arena, storage->root);
  ErrorCode error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  if (error == boost::json::error::exponent_overflow) {
    auto* copy = static_cast<char*>(storage->arena.allocate(text.size(), 1));
    std::ranges::copy(text, copy);
    // Without any change it is a number that is too large.
    if (limitExponents({copy, text.size()})) return parse({copy, text.size()}, limits, std::move(storage));
  }
  const bool beyondLimits = parser.handler().limitReached() || error == boost::json::error::too_deep;
  if (beyondLimits) return refuse({}, DecodingFault::outOfRange);
  if (error || consumed != text.size()) {
    return refuse("byte " + std::to_string(consumed), DecodingFault::malformed);
  }
  return JSONDocument(std::move(storage));
}

JSONDocument::JSONDocument(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
JSONDocument::JSONDocument(JSONDocument&&) noexcept = default;
JSONDocument& JSONDocument::operator=(JSONDocument&&) noexcept = default;
JSONDocument::~JSONDocument() = default;

JSONValue JSONDocument::root() const { return JSONValue(&storage_->root); }

JSONValue::Kind JSONValue::kind() const { return node_->kind; }

std::optional<std::string_view> JSONValue::asString() const {
  if (node_->kind != Kind::string) return std::nullopt;
  return node_->text();
}

std::optional<bool> JSONValue::asBool() const {
  if (node_->kind != Kind::boolean) return std::nullopt;
  return node_->content.boolean;
}

std::optional<std::int64_t> JSONValue::asInt64() const {
  if (node_->kind != Kind::number) return std::nullopt;
  if (node_->isInteger) return node_->content.integer;
  const double value = node_->content.real;
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (value < -limit || value >= limit || value != std::trunc(value)) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

std::optional<double> JSONValue::asDouble() const {
  if (node_->kind != Kind::number) return std::nullopt;
  return node_->isInteger ? static_cast<double>(node_->content.integer) : node_->content.real;
}

std::optional<JSONValue> JSONValue::member(std::string_view key) const {
  if (node_->kind != Kind::object) return std::nullopt;
  const auto members = node_->children();
  for (auto node = members.rbegin(); node != members.rend(); ++node) {
    if (node->key() == key) return JSONValue(&*node);
  }
  return std::nullopt;
}

std::size_t JSONValue::size() const {
  return node_->kind == Kind::array || node_->kind == Kind::object ? node_->size : 0;
}

JSONValue JSONValue::element(std::size_t index) const { return JSONValue(&node_->children()[index]); }

std::string_view JSONValue::key(std::size_t index) const { return node_->children()[index].key(); }

}  // namespace lx
