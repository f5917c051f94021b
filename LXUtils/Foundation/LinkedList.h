#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace lx {

/// Elements in order, each in a place that stays while others come and go at the end. They lie in linked blocks, the
/// first few of them in the list itself, so that hardly any needs memory of its own.
template <class Element>
class LinkedList {
  struct Block;

 public:
  template <class Value>
  class BasicIterator {
   public:
    using value_type = Element;
    using difference_type = std::ptrdiff_t;

    BasicIterator() = default;
    Value& operator*() const { return block_->elements[index_]; }
    Value* operator->() const { return block_->elements + index_; }
    BasicIterator& operator++() {
      if (++index_ == block_->size) *this = block_->next ? BasicIterator(block_->next, 0) : BasicIterator();
      return *this;
    }
    BasicIterator operator++(int) { return std::exchange(*this, std::next(*this)); }
    bool operator==(const BasicIterator&) const = default;

   private:
    friend LinkedList;
    using BlockPointer = std::conditional_t<std::is_const_v<Value>, const Block*, Block*>;
    BasicIterator(BlockPointer block, std::size_t index) : block_(block), index_(index) {}

    BlockPointer block_ = nullptr;
    std::size_t index_ = 0;
  };
  using iterator = BasicIterator<Element>;
  using const_iterator = BasicIterator<const Element>;

  LinkedList() = default;
  LinkedList(const LinkedList&) = delete;
  LinkedList& operator=(const LinkedList&) = delete;
  ~LinkedList() {
    while (last_ != &first_) removeLastBlock();
    std::destroy_n(first_.elements, first_.size);
  }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  iterator begin() { return empty() ? iterator() : iterator(&first_, 0); }
  iterator end() { return {}; }
  const_iterator begin() const { return empty() ? const_iterator() : const_iterator(&first_, 0); }
  const_iterator end() const { return {}; }

  // There must be an element.
  Element& front() { return *first_.elements; }
  const Element& front() const { return *first_.elements; }
  Element& back() { return last_->elements[last_->size - 1]; }
  const Element& back() const { return last_->elements[last_->size - 1]; }

  void push_back(const Element& element) { push_back(Element(element)); }
  void push_back(Element&& element) {
    if (last_->size == last_->capacity) addBlock();
    std::construct_at(last_->elements + last_->size, std::move(element));
    ++last_->size;
    ++size_;
  }

  /// There must be an element.
  void pop_back() {
    std::destroy_at(&back());
    --size_;
    if (--last_->size == 0 && last_ != &first_) removeLastBlock();
  }

 private:
  /// Never empty but for the first one, and while an element is added.
  struct Block {
    Element* elements;
    std::size_t capacity;
    std::size_t size = 0;
    Block* previous = nullptr;
    Block* next = nullptr;
  };
  static_assert(alignof(Element) <= alignof(Block));

  static constexpr std::size_t firstCapacity = 4;
  static constexpr std::size_t largestCapacity = 256;

  void addBlock() {
    const std::size_t capacity = std::min(2 * last_->capacity, largestCapacity);
    auto* const room = static_cast<std::byte*>(::operator new(sizeof(Block) + capacity * sizeof(Element)));
    auto* const elements = reinterpret_cast<Element*>(room + sizeof(Block));
    last_->next = ::new (room) Block{.elements = elements, .capacity = capacity, .previous = last_};
    last_ = last_->next;
  }

  void removeLastBlock() {
    Block* const block = std::exchange(last_, last_->previous);
    last_->next = nullptr;
    std::destroy_n(block->elements, block->size);
    ::operator delete(block);
  }

  alignas(Element) std::byte firstElements_[firstCapacity * sizeof(Element)];
  Block first_{.elements = reinterpret_cast<Element*>(firstElements_), .capacity = firstCapacity};
  Block* last_ = &first_;
  std::size_t size_ = 0;
};

}  // namespace lx
