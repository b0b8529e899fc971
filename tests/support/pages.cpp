#include "support/pages.h"

#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace veskaro::test {
namespace {

#if defined(_WIN32)
void* reserve(std::size_t bytes) {
  return VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS);
}
bool makeUsable(void* at, std::size_t bytes) {
  return VirtualAlloc(at, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}
#else
void* reserve(std::size_t bytes) {
  void* const pages = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return pages == MAP_FAILED ? nullptr : pages;
}
bool makeUsable(void* at, std::size_t bytes) {
  return mprotect(at, bytes, PROT_READ | PROT_WRITE) == 0;
}
#endif

}  // namespace

std::size_t pageBytes() {
#if defined(_WIN32)
  return 4096;
#else
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
#endif
}

unsigned char* reservePages(std::size_t bytes, std::size_t first, std::size_t usable) {
  auto* const pages = static_cast<unsigned char*>(reserve(bytes));
  if (pages == nullptr || (usable > 0 && !makeUsable(pages + first, usable))) throw std::runtime_error("no pages");
  return pages;
}

void releasePages(unsigned char* pages, [[maybe_unused]] std::size_t bytes) {
#if defined(_WIN32)
  VirtualFree(pages, 0, MEM_RELEASE);
#else
  munmap(pages, bytes);
#endif
}

}  // namespace veskaro::test
