// How the five levels stream over the rows of a column strip: which rows are kept, and where they lie.
#ifndef VESKARO_HDR_DETAIL_STREAM_H
#define VESKARO_HDR_DETAIL_STREAM_H

#include "hdr/detail_levels.h"
#include "simd/arena.h"
#include "simd/rows.h"

namespace veskaro {

using simd::Arena;
using simd::kMaxLanes;
using simd::roundUpToLanes;

// Columns beside a strip that its pixels reach (1 + 2 + 4 + 8 + 16 = 31), in whole vectors.
constexpr int kStripMargin = 32;

// Pictures narrower than this go through the plain form.
constexpr int kNarrowest = 32;

// A strip of columns: its rows hold [rowStart, rowEnd), from which [xStart, xEnd) come out right. At an edge of the
// picture there is no margin: the rows are mirrored there.
struct Strip {
  int rowStart, rowEnd;
  int xStart, xEnd;
  bool atLeftEdge, atRightEdge;

  int columns() const { return rowEnd - rowStart; }
};

// Strips of about the same width. Their first columns are multiples of the vectors' width.
class StripPlan {
 public:
  StripPlan(int width, int nominalColumns) : width_(width), count_((width + nominalColumns - 1) / nominalColumns) {}

  int count() const { return count_; }
  Strip strip(int n) const {
    const int start = boundary(n), end = boundary(n + 1);
    const int rowStart = n == 0 ? 0 : start - kStripMargin;
    const int rowEnd = n + 1 == count_ ? width_ : end + kStripMargin < width_ ? end + kStripMargin : width_;
    return {rowStart, rowEnd, start, end, n == 0, rowEnd == width_};
  }
  int widestRow() const {
    int widest = 0;
    for (int n = 0; n < count_; ++n) widest = strip(n).columns() > widest ? strip(n).columns() : widest;
    return widest;
  }

 private:
  int boundary(int n) const {
    if (n == count_) return width_;
    return static_cast<int>(static_cast<long long>(width_) * n / count_) / kMaxLanes * kMaxLanes;
  }
  int width_, count_;
};

// The levels are made in bands of this many rows. Taps of the coarsest level lie half a band apart, so that the last
// two bands hold all that a band needs.
constexpr int kBandRows = 32;

// Rows that a level has to be ahead of the band to be written, for the taps of the levels after it.
constexpr int rowsAhead(int level) {
  return kBandRows - 2 * levelSpacing(level);
}
constexpr int kBaseRowsAhead = kBandRows - 1;

// The last rows of one plane of a strip, addressed by row number. Beside a row there is room for the taps of the
// coarsest level and a partial vector. Rows begin an odd number of cache lines apart, and so do rings, so that the rows
// that a loop runs along don't meet in one set of the cache.
class StripRing {
 public:
  StripRing() = default;
  StripRing(Arena* arena, int columns)
      : rowFloats_(paddedRow(columns)), base_(arena->take(kRows * rowFloats_ + kStagger)) {}

  float* at(int y) const { return base_ + (y % kRows) * rowFloats_ + kRoom; }

 private:
  static constexpr int kRows = 2 * kBandRows;
  static constexpr int kRoom = kMaxLanes;
  static constexpr int kStagger = 27 * kMaxLanes;
  static constexpr std::ptrdiff_t paddedRow(int columns) {
    return (roundUpToLanes(columns + 2 * kRoom) / kMaxLanes | 1) * kMaxLanes;
  }

  std::ptrdiff_t rowFloats_ = 0;
  float* base_ = nullptr;
};

// The rings of one plane: what is to be split, and the smoothed images that are kept, finest first.
struct DetailRings {
  DetailRings() = default;
  DetailRings(Arena* arena, int columns, int keptLevels) : base(arena, columns) {
    for (int level = 0; level < keptLevels; ++level) smooth[level] = StripRing(arena, columns);
  }

  StripRing base;
  StripRing smooth[kDetailLevels];
};

}  // namespace veskaro

#endif  // VESKARO_HDR_DETAIL_STREAM_H
