// How the vector form of the five levels goes over a picture: strips of columns, and in a strip batches of rows.
#ifndef VESKARO_HDR_DETAIL_STRIPS_H
#define VESKARO_HDR_DETAIL_STRIPS_H

#include "hdr/detail/detail_levels.h"
#include "simd/ring.h"

namespace veskaro::hdr {

// Columns beside a strip that its pixels reach (1 + 2 + 4 + 8 + 16 = 31), in whole vectors.
constexpr int kDetailMargin = 32;

// Pictures narrower than this go through the plain form.
constexpr int kNarrowest = 32;

// A strip of columns: its rows hold [rowStart, rowEnd), from which [xStart, xEnd) come out right. At an edge of the
// picture there is no margin: the rows are mirrored there.
struct DetailStrip {
  int rowStart, rowEnd;
  int xStart, xEnd;
  bool atLeftEdge, atRightEdge;

  int columns() const { return rowEnd - rowStart; }
};

// Strips of about the same width. Their first columns are multiples of the vectors' width.
class StripPlan {
 public:
  explicit StripPlan(int width) : width_(width), count_((width + kNominalColumns - 1) / kNominalColumns) {}

  int width() const { return width_; }
  int count() const { return count_; }
  DetailStrip strip(int n) const {
    const int start = boundary(n), end = boundary(n + 1);
    const int rowStart = n == 0 ? 0 : start - kDetailMargin;
    const int rowEnd = n + 1 == count_ ? width_ : end + kDetailMargin < width_ ? end + kDetailMargin : width_;
    return {rowStart, rowEnd, start, end, n == 0, rowEnd == width_};
  }
  int widestRow() const {
    int widest = 0;
    for (int n = 0; n < count_; ++n) widest = strip(n).columns() > widest ? strip(n).columns() : widest;
    return widest;
  }

 private:
  static constexpr int kNominalColumns = 2048;

  int boundary(int n) const {
    if (n == count_) return width_;
    return static_cast<int>(static_cast<long long>(width_) * n / count_) / simd::kMaxLanes * simd::kMaxLanes;
  }
  int width_, count_;
};

// The levels are made in batches of this many rows. Taps of the coarsest level lie half a batch apart, so that the last
// two batches hold all that a batch needs.
constexpr int kBatchRows = 32;

// Rows that a level has to be ahead of the batch to be written, for the taps of the levels after it.
constexpr int rowsAhead(int level) {
  return kBatchRows - 2 * levelSpacing(level);
}
constexpr int kBaseRowsAhead = kBatchRows - 1;

// The last rows of one plane of a strip. Beside a row there is room for the taps of the coarsest level and a partial
// vector.
class DetailRing {
 public:
  DetailRing() = default;
  DetailRing(simd::Arena* arena, int columns)
      : rows_(arena, simd::Pitch::staggered(columns + 2 * simd::kMaxLanes), kGap) {}

  float* at(int y) const { return rows_.at(y).plane(0); }

 private:
  // With it, rings too begin an odd number of cache lines apart.
  static constexpr int kGap = 27 * simd::kMaxLanes;
  simd::Ring<2 * kBatchRows, 1> rows_;
};

// The rings of one plane: what is to be split, and the smoothed images that are kept, finest first.
struct DetailRings {
  DetailRings() = default;
  DetailRings(simd::Arena* arena, int columns, int keptLevels) : base(arena, columns) {
    for (int level = 0; level < keptLevels; ++level) smooth[level] = DetailRing(arena, columns);
  }

  DetailRing base;
  DetailRing smooth[kDetailLevels];
};

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_DETAIL_STRIPS_H
