#include "LXUtils/Foundation/LargeVector.h"

#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace lx {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20U;

/// Smaller rooms are left to the allocator, which reuses them.
constexpr std::size_t smallestLargeRoom = 2 * largePage;

}  // namespace

void* allocateRoom(std::size_t size) {
  if (size < smallestLargeRoom) return ::operator new(size);
  void* const room = ::operator new(size, std::align_val_t(largePage));
#ifdef MADV_HUGEPAGE
  // A wish that the system may refuse. The last page is left out where it is not full.
  ::madvise(room, size / largePage * largePage, MADV_HUGEPAGE);
#endif
  return room;
}

void deallocateRoom(void* room, std::size_t size) {
  if (size < smallestLargeRoom) {
    ::operator delete(room);
  } else {
    ::operator delete(room, std::align_val_t(largePage));
  }
}

}  // namespace lx
