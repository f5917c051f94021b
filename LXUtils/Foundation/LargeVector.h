#pragma once

#include <cstddef>
#include <vector>

namespace lx {

/// Asks the system to lay what is large of the memory on large pages, before it is used for the first time: taking a
/// page from the system costs more than writing it does, and a large one costs little more than a small one.
void preferLargePages(void* memory, std::size_t size);

/// Room for `size` bytes, aligned for any type and on large pages where it is large.
void* allocateRoom(std::size_t size);
void deallocateRoom(void* room, std::size_t size);

template <class Element>
struct RoomAllocator {
  using value_type = Element;

  RoomAllocator() = default;
  template <class Other>
  RoomAllocator(const RoomAllocator<Other>&) {}

  Element* allocate(std::size_t count) { return static_cast<Element*>(allocateRoom(count * sizeof(Element))); }
  void deallocate(Element* elements, std::size_t count) { deallocateRoom(elements, count * sizeof(Element)); }

  bool operator==(const RoomAllocator&) const = default;
};

/// A vector for what may have millions of elements.
template <class Element>
using LargeVector = std::vector<Element, RoomAllocator<Element>>;

}  // namespace lx
