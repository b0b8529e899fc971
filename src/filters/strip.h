// Column strips, in which a level streams through the filters.
#ifndef VESKARO_FILTERS_STRIP_H
#define VESKARO_FILTERS_STRIP_H

#include "filters/neighbour_weights.h"
#include "pixels/rectangle.h"
#include "simd/ring.h"

namespace veskaro::filters {

// Widest strip of columns that streams through the filters at once: its rings fit the second-level cache.
constexpr int kStripColumns = 512;

// How far a strip looks beyond its columns: the sharpening filter into noise-reduced pixels, which look as far again,
// and patchReach farther where the distances between them are those of patches.
constexpr int stripMargin(int patchReach) {
  return 2 * kReach + patchReach;
}

// A strip of a rectangle, in level coordinates: what it writes, what it noise-reduces, what it reads. Nothing is
// noise-reduced outside the rectangle or read farther beyond it than the noise filter looks.
struct Strip {
  int xStart, xEnd;
  int reduceStart, reduceEnd;
  int readStart, readEnd;

  static Strip at(const pixels::Rectangle& area, int xStart, int patchReach) {
    const int lookahead = kReach + patchReach;
    const int xEnd = area.xEnd - xStart > kStripColumns ? xStart + kStripColumns : area.xEnd;
    const auto within = [](int x, int low, int high) { return x < low ? low : x > high ? high : x; };
    return {xStart,
            xEnd,
            within(xStart - kReach, area.xStart, area.xEnd),
            within(xEnd + kReach, area.xStart, area.xEnd),
            within(xStart - stripMargin(patchReach), area.xStart - lookahead, area.xEnd + lookahead),
            within(xEnd + stripMargin(patchReach), area.xStart - lookahead, area.xEnd + lookahead)};
  }
};

// The widest strip with its margins, and room for vectors on both sides.
constexpr std::ptrdiff_t kStripFloats =
    simd::roundUpToLanes(kStripColumns + 2 * stripMargin(kPatchReach)) + 3 * simd::kMaxLanes;
using StripPitch = simd::FixedPitch<kStripFloats>;

// Three planes of one row of a strip, and of its last rows.
using StripRow = simd::PlaneRow<StripPitch>;
template <int kSlots>
using StripRing = simd::Ring<kSlots, 3, StripPitch>;

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_STRIP_H
