#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <memory_resource>

#include "LXUtils/Foundation/LargeVector.h"

namespace lx::DeltaRenderUtils {

/// Where the lists of a document lie side by side: a page for each few would cost more than the lists do. One thread
/// makes lists in it; it goes with its maker and the last of them, on whichever thread that is.
class ListArena {
 public:
  static std::shared_ptr<ListArena> make() {
    return {new ListArena, [](ListArena* arena) { arena->release(); }};
  }

  void* allocate(std::size_t size, std::size_t alignment) {
    owners_.fetch_add(1, std::memory_order_relaxed);
    return blocks_.allocate(size, alignment);
  }
  void release() {
    if (owners_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 private:
  class Rooms final : public std::pmr::memory_resource {
    void* do_allocate(std::size_t size, std::size_t) override { return allocateRoom(size); }
    void do_deallocate(void* room, std::size_t size, std::size_t) override { deallocateRoom(room, size); }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }
  };

  ListArena() = default;
  ~ListArena() = default;

  std::atomic<std::size_t> owners_{1};
  Rooms rooms_;
  std::pmr::monotonic_buffer_resource blocks_{&rooms_};
};

/// For std::allocate_shared.
template <class Object>
struct ListArenaAllocator {
  using value_type = Object;

  explicit ListArenaAllocator(ListArena& owner) : arena(&owner) {}
  template <class Other>
  ListArenaAllocator(const ListArenaAllocator<Other>& other) : arena(other.arena) {}

  Object* allocate(std::size_t count) {
    return static_cast<Object*>(arena->allocate(count * sizeof(Object), alignof(Object)));
  }
  void deallocate(Object*, std::size_t) { arena->release(); }

  bool operator==(const ListArenaAllocator&) const = default;

  ListArena* arena;
};

}  // namespace lx::DeltaRenderUtils
