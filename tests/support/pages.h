// Pages of memory, of which some cannot be touched.
#ifndef VESKARO_TESTS_SUPPORT_PAGES_H
#define VESKARO_TESTS_SUPPORT_PAGES_H

#include <cstddef>

namespace veskaro::test {

std::size_t pageBytes();

// Address space of so many bytes, of which only `usable` from `first` on can be touched. All are whole pages.
unsigned char* reservePages(std::size_t bytes, std::size_t first, std::size_t usable);
void releasePages(unsigned char* pages, std::size_t bytes);

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_PAGES_H
