#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

namespace lx {

/// Elements in order, each in a place that stays while others come and go at the end. They lie in linked blocks, so
/// that few of them need memory of their own.
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
    Value& operator*() const { return *block_->place(index_); }
    Value* operator->() const { return block_->place(index_); }
    BasicIterator& operator++() {
      if (++index_ == block_->size) *this = {block_->next, 0};
      return *this;
    }
    BasicIterator operator++(int) { return std::exchange(*this, std::next(*this)); }
    bool operator==(const BasicIterator&) const = default;

   private:
    friend LinkedList;
    BasicIterator(Block* block, std::size_t index) : block_(block), index_(index) {}

    Block* block_ = nullptr;
    std::size_t index_ = 0;
  };
  using iterator = BasicIterator<Element>;
  using const_iterator = BasicIterator<const Element>;

  LinkedList() = default;
  LinkedList(const LinkedList&) = delete;
  LinkedList& operator=(const LinkedList&) = delete;
  ~LinkedList() {
    while (last_) removeLastBlock();
  }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  iterator begin() { return {first_, 0}; }
  iterator end() { return {}; }
  const_iterator begin() const { return {first_, 0}; }
  const_iterator end() const { return {}; }

  // There must be an element.
  Element& front() { return *first_->place(0); }
  const Element& front() const { return *first_->place(0); }
  Element& back() { return *last_->place(last_->size - 1); }
  const Element& back() const { return *last_->place(last_->size - 1); }

  void push_back(Element element) {
    if (!last_ || last_->size == last_->capacity) addBlock();
    std::construct_at(last_->place(last_->size), std::move(element));
    ++last_->size;
    ++size_;
  }

  /// There must be an element.
  void pop_back() {
    std::destroy_at(&back());
    --size_;
    if (--last_->size == 0) removeLastBlock();
  }

 private:
  /// Never empty but while an element is added.
  struct Block {
    Block* previous;
    Block* next = nullptr;
    std::size_t capacity;
    std::size_t size = 0;

    /// The elements follow the block.
    Element* place(std::size_t index) { return reinterpret_cast<Element*>(this + 1) + index; }
  };
  static_assert(alignof(Element) <= alignof(Block));

  void addBlock() {
    constexpr std::size_t smallest = 4;
    constexpr std::size_t largest = 256;
    const std::size_t capacity = last_ ? std::min(2 * last_->capacity, largest) : smallest;
    void* const room = ::operator new(sizeof(Block) + capacity * sizeof(Element));
    auto* const block = ::new (room) Block{.previous = last_, .capacity = capacity};
    (last_ ? last_->next : first_) = block;
    last_ = block;
  }

  void removeLastBlock() {
    Block* const block = std::exchange(last_, last_->previous);
    (last_ ? last_->next : first_) = nullptr;
    std::destroy_n(block->place(0), block->size);
    ::operator delete(block);
  }

  Block* first_ = nullptr;
  Block* last_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace lx
