#ifndef VESKARO_SIMD_ARENA_H
#define VESKARO_SIMD_ARENA_H

#include <cstddef>
#include <cstdint>

#include "simd/rows.h"

namespace veskaro::simd {

// Hands out pieces of one block of floats, each on a boundary of the widest vector. With a null block it only measures.
class Arena {
 public:
  explicit Arena(float* block) {
    if (block == nullptr) return;
    constexpr std::uintptr_t kBoundary = kMaxLanes * sizeof(float);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(block);
    block_ = block + (kBoundary - address % kBoundary) % kBoundary / sizeof(float);
  }

  float* take(std::ptrdiff_t floats) {
    float* piece = block_ == nullptr ? nullptr : block_ + used_;
    used_ += roundUpToLanes(floats);
    return piece;
  }

  // Floats that a block needs for all pieces, wherever it begins.
  std::ptrdiff_t needed() const { return used_ + kMaxLanes; }

 private:
  float* block_ = nullptr;
  std::ptrdiff_t used_ = 0;
};

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_ARENA_H
