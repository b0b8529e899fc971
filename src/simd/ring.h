// The last rows of an image, kept while it streams by.
#ifndef VESKARO_SIMD_RING_H
#define VESKARO_SIMD_RING_H

#include "simd/arena.h"
#include "simd/rows.h"

namespace veskaro::simd {

// Floats from one plane's row to the next: known when the kernel is compiled, which then reaches all planes of a row
// from one pointer, or when it runs.
template <std::ptrdiff_t kFloats>
struct FixedPitch {
  static_assert(kFloats % kMaxLanes == 0, "rows begin on a boundary of the widest vector");
  static constexpr std::ptrdiff_t floats() { return kFloats; }
};

class Pitch {
 public:
  Pitch() = default;
  // For rows of this many columns and what is reached beside them, room for vectors included.
  explicit Pitch(std::ptrdiff_t columns) : floats_(roundUpToLanes(columns)) {}

  // An odd number of cache lines, so that rows a loop runs along side by side don't meet in one set of the cache.
  static Pitch staggered(std::ptrdiff_t columns) {
    return Pitch((roundUpToLanes(columns) / kMaxLanes | 1) * kMaxLanes);
  }

  std::ptrdiff_t floats() const { return floats_; }

 private:
  std::ptrdiff_t floats_ = 0;
};

// The planes of one row, a pitch apart; points at column 0 of the first.
template <class RowPitch>
class PlaneRow : private RowPitch {
 public:
  PlaneRow() = default;
  explicit PlaneRow(float* first, RowPitch pitch = {}) : RowPitch(pitch), first_(first) {}

  float* plane(int k) const { return first_ + k * RowPitch::floats(); }
  Rows rows() const { return {{plane(0), plane(1), plane(2)}}; }

 private:
  float* first_ = nullptr;
};

// kPlanes planes of the last kSlots rows, addressed by row number. Column 0 lies a vector behind the start of a row.
template <int kSlots, int kPlanes, class RowPitch = Pitch>
class Ring {
 public:
  Ring() = default;
  // gap: floats left free behind the ring.
  explicit Ring(Arena* arena, RowPitch pitch = {}, std::ptrdiff_t gap = 0)
      : pitch_(pitch), base_(arena->take(kSlots * kPlanes * pitch.floats() + gap)) {}

  PlaneRow<RowPitch> at(int y) const {
    return PlaneRow<RowPitch>(base_ + (y % kSlots) * kPlanes * pitch_.floats() + kMaxLanes, pitch_);
  }

 private:
  RowPitch pitch_;
  float* base_ = nullptr;
};

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_RING_H
