// Per-target: the five-level decomposition over batches of rows. The levels follow one another some rows behind, each
// on rows that are still in the cache; both passes of a level are one.
#if defined(VESKARO_HDR_DETAIL_DETAIL_LEVELS_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_DETAIL_DETAIL_LEVELS_VECTORS_INL_H
#undef VESKARO_HDR_DETAIL_DETAIL_LEVELS_VECTORS_INL_H
#else
#define VESKARO_HDR_DETAIL_DETAIL_LEVELS_VECTORS_INL_H
#endif

#include <algorithm>

#include "hdr/detail/smooth_line.h"
#include "hdr/detail/strips.h"
#include "simd/scratch.h"
#include "simd/vector_result.h"
#include "simd/vectors-inl.h"
#include "simd/x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// Here the smoothed image of a level is 16^(level + 1) times the plain form's: the passes leave out the quarter that
// the plain ones take, and the scale is taken back when the details are added up. Scaling by powers of two commutes
// with every rounding here, and products with them are exact: fusing one with a sum changes nothing.
constexpr float scaleOfLevel(int level) {
  return static_cast<float>(1 << (4 * (level + 1)));
}

// The coarsest smoothed image serves the sum of the details alone. Where stores are slow, it is faster to form it there
// than to keep it.
constexpr int kKeptLevels = kHasSlowStores ? kDetailLevels - 1 : kDetailLevels;

HWY_INLINE V weighTaps(V before, V centre, V after) {
  return hn::MulAdd(centre, hn::Set(Floats(), 2.0f), hn::Add(before, after));
}

// A row smoothed along x, one vector after the other.
template <int kSpacing>
class SmoothedRow {
 public:
  HWY_INLINE explicit SmoothedRow(const float* row) : taps_(row) {}

  HWY_INLINE V at(int x) {
    const Taps taps = taps_.at(x);
    return weighTaps(taps.before, taps.centre, taps.after);
  }

 private:
  TapReader<kSpacing> taps_;
};

// Makes 1, 2 or 4 rows of a level, whose taps across coincide: what is smoothed along x is used three times from
// registers, and rows are read half as often. to[0] is made of from[0], from[kSpacing] and from[2 kSpacing], and so on.
template <int kSpacing, int kRows>
HWY_NOINLINE void smoothGroup(const float* const* from, float* const* to, int columns) {
  const Floats d;
  const auto in = [from](int k) { return from[k < kRows + 2 ? k * kSpacing : 0]; };
  const auto out = [to](int k) { return to[k < kRows ? k * kSpacing : 0]; };
  SmoothedRow<kSpacing> row0(in(0)), row1(in(1)), row2(in(2)), row3(in(3)), row4(in(4)), row5(in(5));
  float *const out0 = out(0), *const out1 = out(1), *const out2 = out(2), *const out3 = out(3);
  for (int x = 0; x < columns; x += lanes()) {
    const V a0 = row0.at(x), a1 = row1.at(x), a2 = row2.at(x);
    hn::Store(weighTaps(a0, a1, a2), d, out0 + x);
    if constexpr (kRows >= 2) {
      const V a3 = row3.at(x);
      hn::Store(weighTaps(a1, a2, a3), d, out1 + x);
      if constexpr (kRows == 4) {
        const V a4 = row4.at(x), a5 = row5.at(x);
        hn::Store(weighTaps(a2, a3, a4), d, out2 + x);
        hn::Store(weighTaps(a3, a4, a5), d, out3 + x);
      }
    }
  }
}

// Smooths rows along and across. from[k] is the row kSpacing above the one that to[k] is made of.
template <int kSpacing>
void smoothRows(const float* const* from, float* const* to, int rows, int columns) {
  for (int first = 0; first < std::min(kSpacing, rows); ++first) {
    int k = first;
    for (; k + 3 * kSpacing < rows; k += 4 * kSpacing) smoothGroup<kSpacing, 4>(from + k, to + k, columns);
    for (; k + kSpacing < rows; k += 2 * kSpacing) smoothGroup<kSpacing, 2>(from + k, to + k, columns);
    for (; k < rows; k += kSpacing) smoothGroup<kSpacing, 1>(from + k, to + k, columns);
  }
}

// The order of the tests matters: a threshold may be negative, and then widens every detail.
HWY_INLINE V softThreshold(V detail, V threshold) {
  const V above = hn::IfThenElseZero(hn::Gt(detail, threshold), hn::Sub(detail, threshold));
  return hn::IfThenElse(hn::Gt(hn::Neg(threshold), detail), hn::Add(detail, threshold), above);
}

// The same for thresholds that are not negative: the detail less its part within the threshold.
HWY_INLINE V softThresholdNotNegative(V detail, V threshold) {
  return hn::Sub(detail, limitMagnitude(detail, threshold));
}

// A row of a plane and its smoothed images, and the rows of the finer image that the coarsest one's taps lie in.
struct DetailRows {
  const float* base;
  const float* smooth[kDetailLevels];
  const float* above;
  const float* below;
};

HWY_INLINE V smoothCoarsest(const DetailRows& rows, int x) {
  const auto along = [x](const float* row) HWY_ATTR {
    const Floats d;
    constexpr int kSpacing = levelSpacing(kDetailLevels - 1);
    return weighTaps(hn::LoadU(d, row + x - kSpacing), hn::LoadU(d, row + x), hn::LoadU(d, row + x + kSpacing));
  };
  return weighTaps(along(rows.above), along(rows.smooth[kDetailLevels - 2]), along(rows.below));
}

// The shrunk details of all levels, finest first, then the last level's smoothed image. shrink gets a level's detail
// and smoothed value at that level's scale, and answers at it.
template <class Shrink>
HWY_INLINE V addUp(const DetailRows& rows, int x, const Shrink& shrink) {
  const Floats d;
  const V sixteen = hn::Set(d, 16.0f);
  const auto backFrom = [&d](int level) HWY_ATTR { return hn::Set(d, 1.0f / scaleOfLevel(level)); };
  V smooth = hn::LoadU(d, rows.smooth[0] + x);
  V sum = hn::Mul(shrink(0, hn::MulSub(hn::LoadU(d, rows.base + x), sixteen, smooth), smooth), backFrom(0));
  HWY_UNROLL(4)
  for (int level = 1; level < kDetailLevels; ++level) {
    const V finer = smooth;
    smooth = level < kKeptLevels ? hn::LoadU(d, rows.smooth[level] + x) : smoothCoarsest(rows, x);
    sum = hn::MulAdd(shrink(level, hn::MulSub(finer, sixteen, smooth), smooth), backFrom(level), sum);
  }
  return hn::MulAdd(smooth, backFrom(kDetailLevels - 1), sum);
}

// The levels of kPlanes planes of one strip. MakeRow(y) fills row y of base of every plane.
template <int kPlanes, class MakeRow>
class StripLevels {
 public:
  StripLevels(const DetailRings* rings, int height, const DetailStrip& strip, const MakeRow& makeRow)
      : rings_(rings), height_(height), strip_(strip), makeRow_(makeRow) {}

  // Calls useRow(y) for every row in turn; rowsAt(plane, y) then gives what is there.
  template <class UseRow>
  HWY_INLINE void forEachRow(const UseRow& useRow) const {
    for (int first = 0; first < height_; first += kBatchRows) {
      makeBatch(first);
      for (int y = first; y < std::min(first + kBatchRows, height_); ++y) useRow(y);
    }
  }

  // Row y of a plane, with its smoothed images, from the strip's first column to write.
  DetailRows rowsAt(int plane, int y) const {
    const int offset = strip_.xStart - strip_.rowStart;
    const DetailRings& rings = rings_[plane];
    DetailRows rows = {rings.base.at(y) + offset, {}, nullptr, nullptr};
    for (int level = 0; level < kKeptLevels; ++level) rows.smooth[level] = rings.smooth[level].at(y) + offset;
    constexpr int kSpacing = levelSpacing(kDetailLevels - 1);
    rows.above = rings.smooth[kDetailLevels - 2].at(mirroredRow(y - kSpacing)) + offset;
    rows.below = rings.smooth[kDetailLevels - 2].at(mirroredRow(y + kSpacing)) + offset;
    return rows;
  }

 private:
  // Makes every row that the batch from first on needs. The batches come in turn.
  void makeBatch(int first) const {
    for (int y = firstToMake(first, kBaseRowsAhead); y < endToMake(first, kBaseRowsAhead); ++y) {
      makeRow_(y);
      for (int p = 0; p < kPlanes; ++p) mirrorEnds(rings_[p].base.at(y), levelSpacing(0));
    }
    for (int p = 0; p < kPlanes; ++p) {
      makeSmooth<0>(first, rings_[p].base, rings_[p].smooth[0]);
      makeSmooth<1>(first, rings_[p].smooth[0], rings_[p].smooth[1]);
      makeSmooth<2>(first, rings_[p].smooth[1], rings_[p].smooth[2]);
      makeSmooth<3>(first, rings_[p].smooth[2], rings_[p].smooth[3]);
      if (kKeptLevels == kDetailLevels) makeSmooth<4>(first, rings_[p].smooth[3], rings_[p].smooth[4]);
    }
  }

  int firstToMake(int firstOfBatch, int ahead) const { return firstOfBatch == 0 ? 0 : firstOfBatch + ahead; }
  int endToMake(int firstOfBatch, int ahead) const { return std::min(firstOfBatch + kBatchRows + ahead, height_); }

  template <int kLevel>
  void makeSmooth(int firstOfBatch, const DetailRing& finer, const DetailRing& smooth) const {
    constexpr int kSpacing = levelSpacing(kLevel), kAhead = rowsAhead(kLevel);
    const int first = firstToMake(firstOfBatch, kAhead), rows = endToMake(firstOfBatch, kAhead) - first;
    const float* from[2 * kBatchRows + 2 * kSpacing];
    float* to[2 * kBatchRows];
    for (int k = 0; k < rows + 2 * kSpacing; ++k) from[k] = finer.at(mirroredRow(first + k - kSpacing));
    for (int k = 0; k < rows; ++k) to[k] = smooth.at(first + k);
    smoothRows<kSpacing>(from, to, rows, strip_.columns());
    for (int k = 0; k < rows && kLevel + 1 < kDetailLevels; ++k) mirrorEnds(to[k], 2 * kSpacing);
  }

  int mirroredRow(int y) const { return y >= 0 && y < height_ ? y : static_cast<int>(mirroredIndex(y, height_)); }

  void mirrorEnds(float* row, int spacing) const {
    const int last = strip_.columns() - 1;
    for (int k = 1; strip_.atLeftEdge && k <= spacing; ++k) row[-k] = row[k];
    for (int k = 1; strip_.atRightEdge && k <= spacing; ++k) row[last + k] = row[last - k];
  }

  const DetailRings* rings_;
  const int height_;
  const DetailStrip strip_;
  const MakeRow& makeRow_;
};

// Runs a stage, in scratch memory of its own, over the strips of its picture.
template <class Stage, class Job>
simd::VectorResult runOnStrips(const Job& job) {
  if (job.in.size.width < kNarrowest) return simd::VectorResult::kPlainFormNeeded;
  const StripPlan plan(job.in.size.width);
  simd::Scratch<typename Stage::Scratch> scratch(plan);
  if (!scratch) return simd::VectorResult::kNoMemory;
  Stage(job, plan, *scratch).run();
  return simd::VectorResult::kDone;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
