#include "LXUtils/Foundation/LargeVector.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace lx {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20U;

/// Less is left to the allocator as it is, which keeps and reuses it.
constexpr std::size_t leastSize = 2 * largePage;

}  // namespace

void* allocateRoom(std::size_t size) {
  if (size < leastSize) return ::operator new(size);
  void* const room = ::operator new(size, std::align_val_t(largePage));
#ifdef MADV_HUGEPAGE
  // Only a wish: the system may refuse. The last page is left out where it is not full.
  ::madvise(room, size / largePage * largePage, MADV_HUGEPAGE);
#endif
  return room;
}

void deallocateRoom(void* room, std::size_t size) {
  if (size < leastSize) {
    ::operator delete(room);
  } else {
    ::operator delete(room, std::align_val_t(largePage));
  }
}

}  // namespace lx
