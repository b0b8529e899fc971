#ifndef VESKARO_FILTERS_LEVEL_STREAM_H
#define VESKARO_FILTERS_LEVEL_STREAM_H

#include <cstddef>

#include "filters/neighbour_weights.h"
#include "filters/rectangle.h"
#include "simd/rows.h"

namespace veskaro {

// Widest strip of columns that streams through the filters at once: its rings fit the second-level cache.
constexpr int kStripColumns = 512;

// How far a strip looks beyond its columns: the sharpening filter into noise-reduced pixels, which look as far again.
constexpr int kStripMargin = 2 * kReach;

// A strip of a rectangle, in level coordinates: what it writes, what it noise-reduces, what it reads. Nothing is
// noise-reduced outside the rectangle or read more than two pixels beyond it.
struct Strip {
  int xStart, xEnd;
  int reduceStart, reduceEnd;
  int readStart, readEnd;

  static Strip at(const Rectangle& area, int xStart) {
    const int xEnd = area.xEnd - xStart > kStripColumns ? xStart + kStripColumns : area.xEnd;
    const auto within = [](int x, int low, int high) { return x < low ? low : x > high ? high : x; };
    return {xStart,
            xEnd,
            within(xStart - kReach, area.xStart, area.xEnd),
            within(xEnd + kReach, area.xStart, area.xEnd),
            within(xStart - kStripMargin, area.xStart - kReach, area.xEnd + kReach),
            within(xEnd + kStripMargin, area.xStart - kReach, area.xEnd + kReach)};
  }
};

// Floats of a plane of a strip's row: the widest strip with its margins, and room for vectors on both sides. A
// constant, so that kernels reach all planes of a row from one pointer.
constexpr std::ptrdiff_t kStripPlane = roundUpToLanes(kStripColumns + 2 * kStripMargin) + 3 * kMaxLanes;

// Three planes of one row of a strip; points at column 0 of the first.
struct StripRow {
  float* first;

  float* plane(int k) const { return first + k * kStripPlane; }
  Rows rows() const { return {{plane(0), plane(1), plane(2)}}; }
};

// The last kSlots rows of a strip, addressed by row number.
template <int kSlots>
class StripRing {
 public:
  explicit StripRing(Arena* arena) : base_(arena->take(kSlots * 3 * kStripPlane)) {}

  StripRow at(int y) const { return {base_ + (y % kSlots) * 3 * kStripPlane + kMaxLanes}; }

 private:
  float* base_;
};

}  // namespace veskaro

#endif  // VESKARO_FILTERS_LEVEL_STREAM_H
