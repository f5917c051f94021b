#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace lx {

/// Room for `size` bytes, aligned for any type and on large pages where it is large: taking a page from the system
/// costs more than writing it does, and a large one costs little more than a small one.
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

  /// Without arguments numbers and characters are left unset, for what fills them in at once.
  template <class Constructed, class... Arguments>
  void construct(Constructed* place, Arguments&&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
      ::new (static_cast<void*>(place)) Constructed;
    } else {
      std::construct_at(place, std::forward<Arguments>(arguments)...);
    }
  }

  bool operator==(const RoomAllocator&) const = default;
};

/// A vector for what may have millions of elements.
template <class Element>
using LargeVector = std::vector<Element, RoomAllocator<Element>>;

}  // namespace lx
