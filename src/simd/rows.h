#ifndef VESKARO_SIMD_ROWS_H
#define VESKARO_SIMD_ROWS_H

#include <cstddef>
#include <cstdint>

namespace veskaro {

// The widest vector of any instruction set, in floats. Rows that vectors run over have this much room on both sides,
// so that kernels work in whole vectors and no tail code is needed.
constexpr int kMaxLanes = 16;

constexpr std::ptrdiff_t roundUpToLanes(std::ptrdiff_t n) {
  return (n + kMaxLanes - 1) / kMaxLanes * kMaxLanes;
}

// Three planar rows: red, green, blue, or luma and colour differences.
template <typename T>
struct RowsOf {
  T* plane[3];

  RowsOf operator+(std::ptrdiff_t offset) const { return {{plane[0] + offset, plane[1] + offset, plane[2] + offset}}; }
};
using Rows = RowsOf<float>;

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

// Rows of three planes for the last kSlots rows of an image, addressed by row number.
class RowRing {
 public:
  RowRing() = default;
  // rowFloats includes the room on both sides.
  RowRing(Arena* arena, int slots, std::ptrdiff_t rowFloats)
      : slots_(slots), rowFloats_(rowFloats), base_(arena->take(slots * 3 * rowFloats)) {}

  Rows at(int y) const {
    float* first = base_ + (y % slots_) * 3 * rowFloats_ + kMaxLanes;
    return {{first, first + rowFloats_, first + 2 * rowFloats_}};
  }

 private:
  int slots_ = 0;
  std::ptrdiff_t rowFloats_ = 0;
  float* base_ = nullptr;
};

}  // namespace veskaro

#endif  // VESKARO_SIMD_ROWS_H
