// How the five levels stream over the rows of a column strip: which rows are kept, and where they lie.
#ifndef VESKARO_HDR_DETAIL_STREAM_H
#define VESKARO_HDR_DETAIL_STREAM_H

#include "hdr/detail_levels.h"
#include "simd/rows.h"

namespace veskaro {

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

// The last rows of one plane of a strip, addressed by row number. In front of a row there is room for the taps of the
// coarsest level and as much again for kernels that lag behind by them; behind it for the taps and a partial vector.
class StripRing {
 public:
  StripRing() = default;
  StripRing(Arena* arena, int slots, int columns)
      : slots_(slots), rowFloats_(paddedRow(columns)), base_(arena->take(slots * rowFloats_)) {}

  float* at(int y) const { return base_ + (y % slots_) * rowFloats_ + kRoom; }

 private:
  static constexpr int kRoom = 2 * kMaxLanes;
  static constexpr std::ptrdiff_t paddedRow(int columns) { return roundUpToLanes(columns) + 2 * kRoom; }

  int slots_ = 0;
  std::ptrdiff_t rowFloats_ = 0;
  float* base_ = nullptr;
};

// The rings of one plane. Row y of the result needs rows y .. y + 31 of the base plane, and of each level's smoothed
// image as many as the levels after it reach ahead. across holds the rows smoothed along x only.
struct DetailRings {
  static constexpr int kBaseRows = 32;

  DetailRings() = default;
  DetailRings(Arena* arena, int columns) : base(arena, kBaseRows, columns) {
    for (int level = 0; level < kDetailLevels; ++level) {
      const int spacing = levelSpacing(level);
      across[level] = StripRing(arena, 2 * spacing + 1, columns);
      smooth[level] = StripRing(arena, kBaseRows + 1 - 2 * spacing, columns);
    }
  }

  StripRing base;
  StripRing across[kDetailLevels];
  StripRing smooth[kDetailLevels];
};

}  // namespace veskaro

#endif  // VESKARO_HDR_DETAIL_STREAM_H
