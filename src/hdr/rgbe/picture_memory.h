// Sizes of pictures, and float planes in a host's memory.
#ifndef VESKARO_HDR_RGBE_PICTURE_MEMORY_H
#define VESKARO_HDR_RGBE_PICTURE_MEMORY_H

#include <cstddef>

namespace veskaro::hdr {

// A float at any address: hosts hand over byte pointers. The type keeps such accesses defined.
using PlaneSample = float __attribute__((aligned(1), may_alias));

struct PictureSize {
  int width;
  int height;

  bool isEmpty() const { return width < 1 || height < 1; }
  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_RGBE_PICTURE_MEMORY_H
