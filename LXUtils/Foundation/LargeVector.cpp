#include "LXUtils/Foundation/LargeVector.h"

#include <cstdint>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace lx {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20U;

/// Less is left to the allocator as it is, which keeps and reuses it.
constexpr std::size_t leastSize = 2 * largePage;

}  // namespace

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
  if (size < leastSize) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::size_t skipped = (largePage - begin % largePage) % largePage;
  // Only a wish: the system may refuse. The last page is left out where it is not full.
  ::madvise(static_cast<char*>(memory) + skipped, (size - skipped) / largePage * largePage, MADV_HUGEPAGE);
#endif
}

void* allocateRoom(std::size_t size) {
  if (size < leastSize) return ::operator new(size);
  void* const room = ::operator new(size, std::align_val_t(largePage));
  preferLargePages(room, size);
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
