// Per-target: similarity-weighted interpolation of one fine row, a lane a pair of columns. The steps and their order
// are those of reconstruct.cpp.
#if defined(VESKARO_PYRAMID_RECONSTRUCT_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PYRAMID_RECONSTRUCT_ROW_INL_H
#undef VESKARO_PYRAMID_RECONSTRUCT_ROW_INL_H
#else
#define VESKARO_PYRAMID_RECONSTRUCT_ROW_INL_H
#endif

#include "params/settings.h"
#include "pixels/distance-inl.h"
#include "pyramid/similarity.h"
#include "simd/ring.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pyramid::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
using simd::Rows;
#if VESKARO_HAS_VECTORS

// A row of the guide, even and odd columns apart: column 2 i is even[i], column 2 i + 1 is odd[i].
struct SplitRow {
  Rows even, odd;
};

// The last three rows of the guide, split.
class GuideRing {
 public:
  GuideRing(simd::Arena* arena, std::ptrdiff_t columns)
      : even_(arena, pitchOf(columns)), odd_(arena, pitchOf(columns)) {}

  SplitRow at(int y) const { return {even_.at(y).rows(), odd_.at(y).rows()}; }

  // Splits row y of the guide, whose column 0 is at row, over the column pairs [iStart, iEnd).
  void split(int y, const Rows& row, int iStart, int iEnd) {
    const Floats d;
    const SplitRow to = at(y);
    for (int i = iStart; i < iEnd; i += lanes()) {
      for (int k = 0; k < 3; ++k) {
        V even, odd;
        hn::LoadInterleaved2(d, row.plane[k] + 2 * i, even, odd);
        hn::StoreU(even, d, to.even.plane[k] + i);
        hn::StoreU(odd, d, to.odd.plane[k] + i);
      }
    }
    isExact_[y % kKept] = haveExactSums(to.even.plane, iStart, iEnd) && haveExactSums(to.odd.plane, iStart, iEnd);
  }

  // Whether the samples of row y and the rows beside it have exact sums.
  bool sumsAreExactAround(int y) const {
    return isExact_[(y - 1) % kKept] && isExact_[y % kKept] && isExact_[(y + 1) % kKept];
  }

 private:
  static constexpr int kKept = 3;
  static simd::Pitch pitchOf(std::ptrdiff_t columns) { return simd::Pitch(columns / 2 + 4 * simd::kMaxLanes); }

  simd::Ring<kKept, 3> even_, odd_;
  bool isExact_[kKept] = {};
};

// What one fine row is made from: the guide's rows, and the coarse rows above and below (on an even row both are the
// row's own). Coarse column i lies at fine column 2 i.
struct ReconstructRow {
  SplitRow above, centre, below;
  Rows coarseAbove, coarseBelow;
  Rows unchangedAbove, unchangedBelow;  // the coarse rows as the guide has them: its own even rows and columns
  Rows result;                          // column 0 of the fine row
};

template <bool kSumsAreExact>
HWY_INLINE V similarityTo(const VectorRgb& centre, const Rows& guide, int i, const params::ReconstructSettings& s) {
  const Floats d;
  const V threshold = hn::Set(d, s.threshold);
  const V distance = distanceBetween<ColourDistance, kSumsAreExact>(centre, loadRgb(guide, i));
  const V one = hn::Set(d, 1.0f);
  const V ramp = hn::Add(hn::Div(hn::Sub(threshold, distance), hn::Set(d, s.rolloff)), one);
  const V beyond = hn::IfThenZeroElse(hn::Gt(distance, hn::Set(d, s.rolloff + s.threshold)), ramp);
  return hn::IfThenElse(hn::Ge(threshold, distance), one, beyond);
}

struct CopyWeights {
  HWY_INLINE V of(const float* above, const float*, int i) const { return hn::LoadU(Floats(), above + i); }
};

struct HorizontalWeights {
  V left, right;

  HWY_INLINE V of(const float* above, const float*, int i) const {
    const Floats d;
    return hn::Add(hn::Mul(hn::LoadU(d, above + i + 1), right), hn::Mul(hn::LoadU(d, above + i), left));
  }
};

struct VerticalWeights {
  V top, bottom;

  HWY_INLINE V of(const float* above, const float* below, int i) const {
    const Floats d;
    return hn::Add(hn::Mul(hn::LoadU(d, below + i), bottom), hn::Mul(hn::LoadU(d, above + i), top));
  }
};

struct DiagonalWeights {
  V topLeft, topRight, bottomLeft, bottomRight;

  HWY_INLINE V of(const float* above, const float* below, int i) const {
    const Floats d;
    const V top = hn::Add(hn::Mul(hn::LoadU(d, above + i + 1), topRight), hn::Mul(hn::LoadU(d, above + i), topLeft));
    const V three = hn::Add(top, hn::Mul(hn::LoadU(d, below + i), bottomLeft));
    return hn::Add(three, hn::Mul(hn::LoadU(d, below + i + 1), bottomRight));
  }
};

template <bool kSumsAreExact>
HWY_INLINE HorizontalWeights horizontalWeights(const ReconstructRow& row, int i, const params::ReconstructSettings& s) {
  const V least = hn::Set(Floats(), kMinimumSimilarity);
  const VectorRgb centre = loadRgb(row.centre.odd, i);
  const V leftSim = similarityTo<kSumsAreExact>(centre, row.centre.even, i, s);
  const V rightSim = similarityTo<kSumsAreExact>(centre, row.centre.even, i + 1, s);
  const V right = hn::IfThenElse(hn::Gt(rightSim, least), rightSim, least);
  const V left = hn::IfThenElse(hn::Gt(least, leftSim), least, leftSim);
  const V sum = hn::Add(right, left);
  return {hn::Div(left, sum), hn::Div(right, sum)};
}

template <bool kSumsAreExact>
HWY_INLINE VerticalWeights verticalWeights(const ReconstructRow& row, int i, const params::ReconstructSettings& s) {
  const Floats d;
  const VectorRgb centre = loadRgb(row.centre.even, i);
  const V topSim = similarityTo<kSumsAreExact>(centre, row.above.even, i, s);
  const V bottomSim = similarityTo<kSumsAreExact>(centre, row.below.even, i, s);
  const Mask isAlone = hn::And(hn::Eq(topSim, hn::Zero(d)), hn::Eq(bottomSim, hn::Zero(d)));
  const V half = hn::Set(d, 0.5f);
  const V sum = hn::Add(bottomSim, topSim);
  return {hn::IfThenElse(isAlone, half, hn::Div(topSim, sum)), hn::IfThenElse(isAlone, half, hn::Div(bottomSim, sum))};
}

template <bool kSumsAreExact>
HWY_INLINE DiagonalWeights diagonalWeights(const ReconstructRow& row, int i, const params::ReconstructSettings& s) {
  const Floats d;
  const V zero = hn::Zero(d);
  const VectorRgb centre = loadRgb(row.centre.odd, i);
  const V topLeft = similarityTo<kSumsAreExact>(centre, row.above.even, i, s);
  const V topRight = similarityTo<kSumsAreExact>(centre, row.above.even, i + 1, s);
  const V bottomLeft = similarityTo<kSumsAreExact>(centre, row.below.even, i, s);
  const V bottomRight = similarityTo<kSumsAreExact>(centre, row.below.even, i + 1, s);
  const Mask isAlone = hn::And(hn::And(hn::Eq(topLeft, zero), hn::Eq(topRight, zero)),
                               hn::And(hn::Eq(bottomLeft, zero), hn::Eq(bottomRight, zero)));
  const V inverse = hn::Div(hn::Set(d, 1.0f), hn::Add(hn::Add(hn::Add(topRight, topLeft), bottomLeft), bottomRight));
  const V quarter = hn::Set(d, 0.25f);
  return {hn::IfThenElse(isAlone, quarter, hn::Mul(topLeft, inverse)),
          hn::IfThenElse(isAlone, quarter, hn::Mul(topRight, inverse)),
          hn::IfThenElse(isAlone, quarter, hn::Mul(bottomLeft, inverse)),
          hn::IfThenElse(isAlone, quarter, hn::Mul(bottomRight, inverse))};
}

// The prediction of the fine row from the coarse one.
struct Predict {
  template <class Weights>
  static HWY_INLINE V of(const Weights& weights, const ReconstructRow& row, int plane, const Rows&, int i) {
    return weights.of(row.coarseAbove.plane[plane], row.coarseBelow.plane[plane], i);
  }
};

// The rebuilt row: the prediction less what the prediction from the unchanged coarse level exceeded the row by. Both
// take the same weights, so the difference need not be stored between the way down and the way up.
struct Rebuild {
  template <class Weights>
  static HWY_INLINE V of(const Weights& weights, const ReconstructRow& row, int plane, const Rows& level, int i) {
    const V unchanged = weights.of(row.unchangedAbove.plane[plane], row.unchangedBelow.plane[plane], i);
    const V difference = hn::Sub(unchanged, hn::LoadU(Floats(), level.plane[plane] + i));
    return hn::Sub(Predict::of(weights, row, plane, level, i), difference);
  }
};

template <class Result, class EvenWeights, class OddWeights>
HWY_INLINE void storePairs(const ReconstructRow& row, const EvenWeights& even, const OddWeights& odd, int i) {
  for (int k = 0; k < 3; ++k) {
    hn::StoreInterleaved2(Result::of(even, row, k, row.centre.even, i), Result::of(odd, row, k, row.centre.odd, i),
                          Floats(), row.result.plane[k] + 2 * i);
  }
}

template <class Result, bool kSumsAreExact>
HWY_NOINLINE void reconstructEvenRow(const ReconstructRow& row, int iStart, int iEnd,
                                     const params::ReconstructSettings& s) {
  for (int i = iStart; i < iEnd; i += lanes()) {
    storePairs<Result>(row, CopyWeights(), horizontalWeights<kSumsAreExact>(row, i, s), i);
  }
}

template <class Result, bool kSumsAreExact>
HWY_NOINLINE void reconstructOddRow(const ReconstructRow& row, int iStart, int iEnd,
                                    const params::ReconstructSettings& s) {
  for (int i = iStart; i < iEnd; i += lanes()) {
    storePairs<Result>(row, verticalWeights<kSumsAreExact>(row, i, s), diagonalWeights<kSumsAreExact>(row, i, s), i);
  }
}

// Fine row y over the column pairs [iStart, iEnd), from the guide's ring.
template <class Result>
HWY_INLINE void reconstructRow(const GuideRing& guide, int y, const Rows& coarseAbove, const Rows& coarseBelow,
                               const Rows& result, int iStart, int iEnd, const params::ReconstructSettings& s) {
  const bool isEven = y % 2 == 0;
  const Rows unchangedAbove = isEven ? guide.at(y).even : guide.at(y - 1).even;
  const Rows unchangedBelow = isEven ? guide.at(y).even : guide.at(y + 1).even;
  const ReconstructRow row = {guide.at(y - 1), guide.at(y),    guide.at(y + 1), coarseAbove,
                              coarseBelow,     unchangedAbove, unchangedBelow,  result};
  const bool isExact = guide.sumsAreExactAround(y);
  const auto reconstruct = isEven ? (isExact ? reconstructEvenRow<Result, true> : reconstructEvenRow<Result, false>)
                                  : (isExact ? reconstructOddRow<Result, true> : reconstructOddRow<Result, false>);
  reconstruct(row, iStart, iEnd, s);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pyramid::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
