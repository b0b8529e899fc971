// Per-target: the noise filter on one row, a lane a pixel. The steps and their order are those of noise_reduce.cpp.
#if defined(VESKARO_FILTERS_NOISE_REDUCE_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NOISE_REDUCE_ROW_INL_H
#undef VESKARO_FILTERS_NOISE_REDUCE_ROW_INL_H
#else
#define VESKARO_FILTERS_NOISE_REDUCE_ROW_INL_H
#endif

#include "filters/level_buffers.h"
#include "filters/neighbour_distances-inl.h"
#include "filters/neighbour_sum-inl.h"
#include "filters/noise_neighbour.h"
#include "params/settings.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

struct NoiseRow {
  StripRow level[kSpan];  // the rows from two above to two below
  DistanceRow distance;
  StripRow own;        // the values that are mixed with the neighbour average
  StripRow reduced;    // result
  StripRow noiseMap;   // a plane for each NoiseMapChannel
  StripRow tolerance;  // between the steps: a plane for each TolerancePlane
  StripRow sum;        // between the steps: weighted sums
};

enum TolerancePlane { kInverseRolloff = 0, kCut = 1, kWeightSum = 2 };

HWY_INLINE V noiseScaleAt(const VectorRgb& p, float highlightSlope) {
  const Floats d;
  const V sum = hn::Add(hn::Add(p.g, p.b), p.r);
  const V raised = hn::IfThenElseZero(hn::Gt(sum, hn::Zero(d)), sum);
  const V brightness = hn::Min(raised, hn::Set(d, kWhiteSum));
  return hn::Add(hn::Set(d, 1.0f), hn::Mul(hn::Set(d, highlightSlope), brightness));
}

struct VectorTolerance {
  V threshold, inverseRolloff, cut;
};

HWY_INLINE VectorTolerance toleranceOf(V threshold, V rolloff) {
  const Floats d;
  const V inverseRolloff = hn::Div(hn::Set(d, 1.0f), rolloff);
  return {threshold, hn::IfThenElseZero(hn::Gt(rolloff, hn::Zero(d)), inverseRolloff), hn::Add(threshold, rolloff)};
}

HWY_INLINE void computeTolerances(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  const Floats d;
  for (int x = xStart; x < xEnd; x += lanes()) {
    const V scale = noiseScaleAt(loadRgb(row.level[kReach], x), s.highlightSlope);
    const V threshold = hn::Mul(hn::Set(d, s.threshold), scale);
    const V rolloff = hn::Mul(hn::Set(d, s.rolloff), scale);
    const VectorTolerance t = toleranceOf(threshold, rolloff);
    hn::StoreU(threshold, d, row.noiseMap.plane(kThreshold) + x);
    hn::StoreU(rolloff, d, row.noiseMap.plane(kRolloff) + x);
    hn::StoreU(t.inverseRolloff, d, row.tolerance.plane(kInverseRolloff) + x);
    hn::StoreU(t.cut, d, row.tolerance.plane(kCut) + x);
  }
}

HWY_INLINE VectorTolerance toleranceAt(const NoiseRow& row, int x) {
  const Floats d;
  return {hn::LoadU(d, row.noiseMap.plane(kThreshold) + x), hn::LoadU(d, row.tolerance.plane(kInverseRolloff) + x),
          hn::LoadU(d, row.tolerance.plane(kCut) + x)};
}

// kAllFinite: samples, distances and tolerances are, and no inverse rolloff is negative.
template <bool kAllFinite>
HWY_INLINE V similarityFactor(V distance, const VectorTolerance& t) {
  const V one = hn::Set(Floats(), 1.0f);
  const V slope = hn::Add(one, hn::Mul(hn::Sub(t.threshold, distance), t.inverseRolloff));
  // At or below the threshold the slope is at least 1, so the smaller of both is the factor.
  if (kAllFinite) return hn::Min(one, slope);
  return hn::IfThenElse(hn::Le(distance, t.threshold), one, slope);
}

template <bool kAllFinite, int kDx, int kDy>
HWY_INLINE void addNoiseNeighbour(const NoiseRow& row, int x, const VectorTolerance& t, VectorNeighbourSum& sum) {
  constexpr float kWeight = kNeighbourWeight[kDy + kReach][kDx + kReach];
  const V distance = row.distance.to<kDx, kDy>(x);
  // "Not greater": a distance that is not a number counts.
  const Mask counts = kAllFinite ? hn::Le(distance, t.cut) : hn::Not(hn::Gt(distance, t.cut));
  const V weight = hn::Mul(hn::Set(Floats(), kWeight), similarityFactor<kAllFinite>(distance, t));
  addWeighted<kAllFinite>(row.level[kDy + kReach], x + kDx, hn::IfThenElseZero(counts, weight), counts, sum);
}

// The neighbours of one column of the window, top to bottom.
template <bool kAllFinite, int kDx>
HWY_INLINE VectorNeighbourSum sumColumn(const NoiseRow& row, int x, const VectorTolerance& t) {
  VectorNeighbourSum sum = emptySum();
  addNoiseNeighbour<kAllFinite, kDx, -2>(row, x, t, sum);
  addNoiseNeighbour<kAllFinite, kDx, -1>(row, x, t, sum);
  if constexpr (kDx != 0) addNoiseNeighbour<kAllFinite, kDx, 0>(row, x, t, sum);
  addNoiseNeighbour<kAllFinite, kDx, +1>(row, x, t, sum);
  addNoiseNeighbour<kAllFinite, kDx, +2>(row, x, t, sum);
  return sum;
}

template <bool kAllFinite>
HWY_INLINE void sumNoiseNeighbours(const NoiseRow& row, int xStart, int xEnd) {
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorTolerance t = toleranceAt(row, x);
    VectorNeighbourSum sum = sumColumn<kAllFinite, -2>(row, x, t);
    sum = addSums(sum, sumColumn<kAllFinite, -1>(row, x, t));
    sum = addSums(sum, sumColumn<kAllFinite, 0>(row, x, t));
    sum = addSums(sum, sumColumn<kAllFinite, +1>(row, x, t));
    sum = addSums(sum, sumColumn<kAllFinite, +2>(row, x, t));
    storeRgb({sum.r, sum.g, sum.b}, row.sum, x);
    hn::StoreU(sum.weight, Floats(), row.tolerance.plane(kWeightSum) + x);
  }
}

HWY_INLINE V mix(V own, V sum, V inverseWeight, V outerMix, V centreMix) {
  const V average = hn::Mul(sum, inverseWeight);
  return hn::Add(hn::Mul(own, centreMix), hn::Mul(average, outerMix));
}

// Each pixel moved towards the average of its neighbours; where none is similar it stays what it is.
HWY_INLINE void mixWithAverage(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  const Floats d;
  const V one = hn::Set(d, 1.0f);
  const V centreWeight = hn::Set(d, kCentreWeight);
  for (int x = xStart; x < xEnd; x += lanes()) {
    const V weight = hn::LoadU(d, row.tolerance.plane(kWeightSum) + x);
    const VectorRgb sum = loadRgb(row.sum, x);
    const V inverseWeight = hn::Div(one, weight);
    const V outerMix =
        hn::Mul(hn::Set(d, s.amount), hn::Sub(one, hn::Div(centreWeight, hn::Add(weight, centreWeight))));
    const V centreMix = hn::Sub(one, outerMix);
    const VectorRgb own = loadRgb(row.own, x);
    const VectorRgb mixed = {mix(own.r, sum.r, inverseWeight, outerMix, centreMix),
                             mix(own.g, sum.g, inverseWeight, outerMix, centreMix),
                             mix(own.b, sum.b, inverseWeight, outerMix, centreMix)};
    const Mask isAlone = hn::Eq(weight, hn::Zero(d));
    storeRgb(choose(isAlone, loadRgb(row.level[kReach], x), mixed), row.reduced, x);
    hn::StoreU(hn::IfThenZeroElse(isAlone, outerMix), d, row.noiseMap.plane(kMixFraction) + x);
  }
}

// The steps run one after the other over the whole row: each is short enough for the processor to work on several
// vectors at once, which the long chain through all of them is not.
template <bool kAllFinite>
HWY_NOINLINE void reduceNoiseRow(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  computeTolerances(row, xStart, xEnd, s);
  sumNoiseNeighbours<kAllFinite>(row, xStart, xEnd);
  mixWithAverage(row, xStart, xEnd, s);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
