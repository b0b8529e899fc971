#ifndef VESKARO_SIMD_ROWS_H
#define VESKARO_SIMD_ROWS_H

#include <cstddef>

namespace veskaro::simd {

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

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_ROWS_H
