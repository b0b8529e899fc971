// Per-target: the sharpening filter on one row, a lane a pixel. The steps and their order are those of sharpen.cpp.
#if defined(VESKARO_FILTERS_SHARPEN_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_SHARPEN_ROW_INL_H
#undef VESKARO_FILTERS_SHARPEN_ROW_INL_H
#else
#define VESKARO_FILTERS_SHARPEN_ROW_INL_H
#endif

#include "filters/level_buffers.h"
#include "filters/neighbour_distances-inl.h"
#include "filters/neighbour_sum-inl.h"
#include "filters/sharpen_neighbour.h"
#include "params/settings.h"
#include "pixels/colour-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

struct SharpenRow {
  StripRow reduced[kSpan];  // the rows from two above to two below
  DistanceRow distance;
  StripRow noiseMap;   // of the noise filter, a plane for each NoiseMapChannel
  StripRow sharpened;  // result
  StripRow range;      // between the steps: a plane for each RangePlane
  StripRow sum;        // between the steps: weighted sums
  StripRow weight;     // between the steps: weight sum
};

enum RangePlane { kRangeCut = 0, kPerThreshold = 1, kPerRolloff = 2 };

struct VectorNoiseRange {
  V threshold, cut, perThreshold, perRolloff;
};

HWY_INLINE VectorNoiseRange rangeOf(V threshold) {
  const Floats d;
  const V one = hn::Set(d, 1.0f);
  const V rolloff = hn::Mul(hn::Set(d, kFallOfRise), threshold);
  return {threshold, hn::Add(threshold, rolloff), hn::Div(one, threshold), hn::Div(one, rolloff)};
}

// With finite samples every distance is finite, and "not at or beyond the cut" is the same as "below the cut" if a cut
// that is not a number, which excludes none, is infinity instead.
template <bool kSamplesAreFinite>
HWY_INLINE void computeRanges(const SharpenRow& row, int xStart, int xEnd) {
  const Floats d;
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorNoiseRange range = rangeOf(hn::LoadU(d, row.noiseMap.plane(kRolloff) + x));
    const V cut = kSamplesAreFinite ? hn::IfThenElse(hn::Eq(range.cut, range.cut), range.cut, hn::Inf(d)) : range.cut;
    hn::StoreU(cut, d, row.range.plane(kRangeCut) + x);
    hn::StoreU(range.perThreshold, d, row.range.plane(kPerThreshold) + x);
    hn::StoreU(range.perRolloff, d, row.range.plane(kPerRolloff) + x);
  }
}

HWY_INLINE VectorNoiseRange rangeAt(const SharpenRow& row, int x) {
  const Floats d;
  return {hn::LoadU(d, row.noiseMap.plane(kRolloff) + x), hn::LoadU(d, row.range.plane(kRangeCut) + x),
          hn::LoadU(d, row.range.plane(kPerThreshold) + x), hn::LoadU(d, row.range.plane(kPerRolloff) + x)};
}

template <bool kSamplesAreFinite, int kDx, int kDy>
HWY_INLINE void addSharpeningNeighbour(const SharpenRow& row, int x, const VectorNoiseRange& range,
                                       VectorNeighbourSum& sum) {
  const Floats d;
  constexpr float kWeight = kNeighbourWeight[kDy + kReach][kDx + kReach];
  const V distance = row.distance.to<kDx, kDy>(x);
  const V risingSlope = hn::Mul(hn::Set(d, kWeight), range.perThreshold);
  const V fallingSlope = hn::Mul(hn::Set(d, sharpeningSlopeWeight(kDx, kDy)), range.perRolloff);
  const Mask isRising = hn::Le(distance, range.threshold);
  const Mask isWithin = kSamplesAreFinite ? hn::Lt(distance, range.cut) : hn::Not(hn::Ge(distance, range.cut));
  const V rising = hn::Mul(risingSlope, distance);
  const V falling = hn::Add(hn::Mul(hn::Sub(range.threshold, distance), fallingSlope), hn::Set(d, kWeight));
  const V weight = hn::IfThenElse(isRising, rising, hn::IfThenElseZero(isWithin, falling));
  addWeighted<kSamplesAreFinite>(row.reduced[kDy + kReach], x + kDx, weight, hn::Or(isRising, isWithin), sum);
}

// The neighbours of one row of the window, left to right.
template <bool kSamplesAreFinite, int kDy>
HWY_INLINE void addSharpeningRow(const SharpenRow& row, int x, const VectorNoiseRange& range, VectorNeighbourSum& sum) {
  addSharpeningNeighbour<kSamplesAreFinite, -2, kDy>(row, x, range, sum);
  addSharpeningNeighbour<kSamplesAreFinite, -1, kDy>(row, x, range, sum);
  if constexpr (kDy != 0) addSharpeningNeighbour<kSamplesAreFinite, 0, kDy>(row, x, range, sum);
  addSharpeningNeighbour<kSamplesAreFinite, +1, kDy>(row, x, range, sum);
  addSharpeningNeighbour<kSamplesAreFinite, +2, kDy>(row, x, range, sum);
}

template <bool kSamplesAreFinite>
HWY_INLINE void sumSharpeningNeighbours(const SharpenRow& row, int xStart, int xEnd) {
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorNoiseRange range = rangeAt(row, x);
    VectorNeighbourSum sum = emptySum();
    addSharpeningRow<kSamplesAreFinite, -2>(row, x, range, sum);
    addSharpeningRow<kSamplesAreFinite, -1>(row, x, range, sum);
    addSharpeningRow<kSamplesAreFinite, 0>(row, x, range, sum);
    addSharpeningRow<kSamplesAreFinite, +1>(row, x, range, sum);
    addSharpeningRow<kSamplesAreFinite, +2>(row, x, range, sum);
    storeRgb({sum.r, sum.g, sum.b}, row.sum, x);
    hn::StoreU(sum.weight, Floats(), row.weight.plane(0) + x);
  }
}

// Pushes luma and colour differences away from the average.
HWY_INLINE VectorRgb pushAway(const VectorRgb& own, const VectorNeighbourSum& sum, V mixFraction,
                              const params::SharpenSettings& s) {
  const Floats d;
  const V inverseWeight = hn::Div(hn::Set(d, 1.0f), sum.weight);
  const VectorYcc average = toYcc(times({sum.r, sum.g, sum.b}, inverseWeight));
  const VectorYcc centre = toYcc(own);
  const V amount = hn::IfThenElseZero(hn::Gt(mixFraction, hn::Zero(d)), mixFraction);
  const V chromaMix = hn::Mul(hn::Mul(sum.weight, hn::Set(d, s.chroma)), amount);
  const V push = hn::Mul(hn::Mul(hn::Mul(hn::Sub(centre.y, average.y), sum.weight), hn::Set(d, s.luma)), amount);
  return toRgb({hn::Add(centre.y, push),
                hn::Add(hn::Mul(hn::Sub(centre.bMinusY, average.bMinusY), chromaMix), centre.bMinusY),
                hn::Add(hn::Mul(hn::Sub(centre.rMinusY, average.rMinusY), chromaMix), centre.rMinusY)});
}

// Each pixel pushed away from the average of its neighbours; where none has a say it stays what it is.
HWY_INLINE void pushRow(const SharpenRow& row, int xStart, int xEnd, const params::SharpenSettings& s) {
  const Floats d;
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorRgb total = loadRgb(row.sum, x);
    const VectorNeighbourSum sum = {total.r, total.g, total.b, hn::LoadU(d, row.weight.plane(0) + x)};
    const VectorRgb own = loadRgb(row.reduced[kReach], x);
    const VectorRgb pushed = pushAway(own, sum, hn::LoadU(d, row.noiseMap.plane(kMixFraction) + x), s);
    const Mask isFlat = hn::Eq(sum.weight, hn::Zero(d));
    storeRgb(choose(isFlat, own, pushed), row.sharpened, x);
  }
}

// Step by step over the whole row, like reduceNoiseRow.
template <bool kSamplesAreFinite>
HWY_NOINLINE void sharpenRow(const SharpenRow& row, int xStart, int xEnd, const params::SharpenSettings& s) {
  computeRanges<kSamplesAreFinite>(row, xStart, xEnd);
  sumSharpeningNeighbours<kSamplesAreFinite>(row, xStart, xEnd);
  pushRow(row, xStart, xEnd, s);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
