// Per-target: the noise filter on one row, a lane a pixel. The steps and their order are those of noise_reduce.cpp.
#if defined(VESKARO_FILTERS_NOISE_REDUCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NOISE_REDUCE_INL_H
#undef VESKARO_FILTERS_NOISE_REDUCE_INL_H
#else
#define VESKARO_FILTERS_NOISE_REDUCE_INL_H
#endif

#include "filters/colour_difference-inl.h"
#include "filters/neighbour_distances-inl.h"
#include "params/settings.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

struct NoiseRow {
  StripRow level[5];  // the rows from two above to two below
  DistanceRow distance;
  StripRow own;        // the values that are mixed with the neighbour average
  StripRow reduced;    // result
  StripRow records;    // mix fraction, threshold, rolloff
  StripRow tolerance;  // between the steps: inverse rolloff, greatest distance that counts, weight sum
  StripRow sum;        // between the steps: weighted sums
};

struct VectorTolerance {
  V threshold, inverseRolloff, cut;
};

// How far a neighbour may lie from each pixel.
HWY_INLINE void computeTolerances(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  const Floats d;
  const V zero = hn::Zero(d);
  const V one = hn::Set(d, 1.0f);
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorRgb centre = loadRgb(row.level[kReach], x);
    const V sum = hn::Add(hn::Add(centre.g, centre.b), centre.r);
    const V raised = hn::IfThenElseZero(hn::Gt(sum, zero), sum);
    const V brightness = hn::Min(raised, hn::Set(d, 765.0f));
    const V m = hn::Add(one, hn::Mul(hn::Set(d, s.highlightSlope), brightness));
    const V threshold = hn::Mul(hn::Set(d, s.threshold), m);
    const V rolloff = hn::Mul(hn::Set(d, s.rolloff), m);
    hn::StoreU(threshold, d, row.records.plane(1) + x);
    hn::StoreU(rolloff, d, row.records.plane(2) + x);
    hn::StoreU(hn::IfThenElseZero(hn::Gt(rolloff, zero), hn::Div(one, rolloff)), d, row.tolerance.plane(0) + x);
    hn::StoreU(hn::Add(threshold, rolloff), d, row.tolerance.plane(1) + x);
  }
}

struct VectorSum {
  V r, g, b, weight;
};

HWY_INLINE VectorSum emptySum() {
  const V zero = hn::Zero(Floats());
  return {zero, zero, zero, zero};
}

HWY_INLINE VectorSum addSums(const VectorSum& a, const VectorSum& b) {
  return {hn::Add(a.r, b.r), hn::Add(a.g, b.g), hn::Add(a.b, b.b), hn::Add(a.weight, b.weight)};
}

// Adds a neighbour of the given weight where it counts. Elsewhere the weight is 0 already, and ordinary samples may be
// added with it, which leaves every sum as it is.
template <bool kOrdinary>
HWY_INLINE void addWeighted(const StripRow& row, int x, V weight, Mask counts, VectorSum& sum) {
  const VectorRgb p = loadRgb(row, x);
  const VectorSum added = addSums(sum, {hn::Mul(p.r, weight), hn::Mul(p.g, weight), hn::Mul(p.b, weight), weight});
  if (kOrdinary) {
    sum = added;
  } else {
    sum = {hn::IfThenElse(counts, added.r, sum.r), hn::IfThenElse(counts, added.g, sum.g),
           hn::IfThenElse(counts, added.b, sum.b), hn::IfThenElse(counts, added.weight, sum.weight)};
  }
}

template <bool kOrdinary>
HWY_INLINE V similarityFactor(V distance, const VectorTolerance& t) {
  const V one = hn::Set(Floats(), 1.0f);
  const V slope = hn::Add(one, hn::Mul(hn::Sub(t.threshold, distance), t.inverseRolloff));
  // At or below the threshold the slope is at least 1, so the smaller of both is the factor.
  if (kOrdinary) return hn::Min(one, slope);
  return hn::IfThenElse(hn::Le(distance, t.threshold), one, slope);
}

template <bool kOrdinary, int kDx, int kDy>
HWY_INLINE void addNoiseNeighbour(const NoiseRow& row, int x, const VectorTolerance& t, VectorSum& sum) {
  constexpr float kWeight = kNeighbourWeight[kDy + kReach][kDx + kReach];
  const V distance = row.distance.to<kDx, kDy>(x);
  // "Not greater": a distance that is not a number counts.
  const Mask counts = kOrdinary ? hn::Le(distance, t.cut) : hn::Not(hn::Gt(distance, t.cut));
  const V weight = hn::Mul(hn::Set(Floats(), kWeight), similarityFactor<kOrdinary>(distance, t));
  addWeighted<kOrdinary>(row.level[kDy + kReach], x + kDx, hn::IfThenElseZero(counts, weight), counts, sum);
}

// The neighbours of one column of the window, top to bottom.
template <bool kOrdinary, int kDx>
HWY_INLINE VectorSum sumColumn(const NoiseRow& row, int x, const VectorTolerance& t) {
  VectorSum sum = emptySum();
  addNoiseNeighbour<kOrdinary, kDx, -2>(row, x, t, sum);
  addNoiseNeighbour<kOrdinary, kDx, -1>(row, x, t, sum);
  if constexpr (kDx != 0) addNoiseNeighbour<kOrdinary, kDx, 0>(row, x, t, sum);
  addNoiseNeighbour<kOrdinary, kDx, +1>(row, x, t, sum);
  addNoiseNeighbour<kOrdinary, kDx, +2>(row, x, t, sum);
  return sum;
}

template <bool kOrdinary>
HWY_INLINE void sumNeighbours(const NoiseRow& row, int xStart, int xEnd) {
  const Floats d;
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorTolerance t = {hn::LoadU(d, row.records.plane(1) + x), hn::LoadU(d, row.tolerance.plane(0) + x),
                               hn::LoadU(d, row.tolerance.plane(1) + x)};
    VectorSum sum = sumColumn<kOrdinary, -2>(row, x, t);
    sum = addSums(sum, sumColumn<kOrdinary, -1>(row, x, t));
    sum = addSums(sum, sumColumn<kOrdinary, 0>(row, x, t));
    sum = addSums(sum, sumColumn<kOrdinary, +1>(row, x, t));
    sum = addSums(sum, sumColumn<kOrdinary, +2>(row, x, t));
    storeRgb({sum.r, sum.g, sum.b}, row.sum, x);
    hn::StoreU(sum.weight, d, row.tolerance.plane(2) + x);
  }
}

// A sample moved towards the average.
HWY_INLINE V mix(V own, V sum, V inverseWeight, V outerMix, V centreMix) {
  const V average = hn::Mul(sum, inverseWeight);
  return hn::Add(hn::Mul(own, centreMix), hn::Mul(average, outerMix));
}

// Each pixel moved towards the average of its neighbours; where none is similar it stays what it is.
HWY_INLINE void mixWithAverage(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  const Floats d;
  const V one = hn::Set(d, 1.0f);
  for (int x = xStart; x < xEnd; x += lanes()) {
    const V weight = hn::LoadU(d, row.tolerance.plane(2) + x);
    const VectorRgb sum = loadRgb(row.sum, x);
    const V inverseWeight = hn::Div(one, weight);
    const V outerMix = hn::Mul(hn::Set(d, s.amount), hn::Sub(one, hn::Div(one, hn::Add(weight, one))));
    const V centreMix = hn::Sub(one, outerMix);
    const VectorRgb own = loadRgb(row.own, x);
    const V r = mix(own.r, sum.r, inverseWeight, outerMix, centreMix);
    const V g = mix(own.g, sum.g, inverseWeight, outerMix, centreMix);
    const V b = mix(own.b, sum.b, inverseWeight, outerMix, centreMix);
    const Mask isAlone = hn::Eq(weight, hn::Zero(d));
    const VectorRgb centre = loadRgb(row.level[kReach], x);
    storeRgb({hn::IfThenElse(isAlone, centre.r, r), hn::IfThenElse(isAlone, centre.g, g),
              hn::IfThenElse(isAlone, centre.b, b)},
             row.reduced, x);
    hn::StoreU(hn::IfThenZeroElse(isAlone, outerMix), d, row.records.plane(0) + x);
  }
}

// The steps run one after the other over the whole row: each is short enough for the processor to work on several
// vectors at once, which the long chain through all of them is not.
template <bool kOrdinary>
HWY_NOINLINE void reduceNoiseRow(const NoiseRow& row, int xStart, int xEnd, const params::NoiseSettings& s) {
  computeTolerances(row, xStart, xEnd, s);
  sumNeighbours<kOrdinary>(row, xStart, xEnd);
  mixWithAverage(row, xStart, xEnd, s);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
