// Per-target: the noise filter on one row, a lane a pixel. The steps and their order are those of noise_reduce.cpp.
#if defined(VESKARO_FILTERS_NOISE_REDUCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NOISE_REDUCE_INL_H
#undef VESKARO_FILTERS_NOISE_REDUCE_INL_H
#else
#define VESKARO_FILTERS_NOISE_REDUCE_INL_H
#endif

#include "filters/neighbour_distances-inl.h"
#include "params/tuning.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR

struct NoiseRow {
  Rows level[5];                // the rows from two above to two below
  const float* distance[5][5];  // of each pixel to its neighbour, by dy + 2 and dx + 2
  Rows own;                     // the values that are mixed with the neighbour average
  Rows reduced;                 // result
  Rows records;                 // mix fraction, threshold, rolloff
};

struct VectorTolerance {
  V threshold, rolloff, inverseRolloff, cut;
};

HWY_INLINE VectorTolerance toleranceAt(const Rows& centre, int x, const NoiseSettings& s) {
  const Floats d;
  const V zero = hn::Zero(d);
  const V one = hn::Set(d, 1.0f);
  const V r = hn::LoadU(d, centre.plane[0] + x);
  const V g = hn::LoadU(d, centre.plane[1] + x);
  const V b = hn::LoadU(d, centre.plane[2] + x);
  const V sum = hn::Add(hn::Add(g, b), r);
  const V raised = hn::IfThenElseZero(hn::Gt(sum, zero), sum);
  const V brightness = hn::Min(raised, hn::Set(d, 765.0f));
  const V m = hn::Add(one, hn::Mul(hn::Set(d, s.highlightSlope), brightness));
  VectorTolerance t;
  t.threshold = hn::Mul(hn::Set(d, s.threshold), m);
  t.rolloff = hn::Mul(hn::Set(d, s.rolloff), m);
  t.inverseRolloff = hn::IfThenElseZero(hn::Gt(t.rolloff, zero), hn::Div(one, t.rolloff));
  t.cut = hn::Add(t.threshold, t.rolloff);
  return t;
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

// Adds a neighbour of the given weight where it counts. Ordinary samples may be added with weight 0 instead, which
// leaves every sum as it is.
template <bool kOrdinary>
HWY_INLINE void addWeighted(const Rows& row, int x, V weight, Mask counts, VectorSum& sum) {
  const Floats d;
  const V w = hn::IfThenElseZero(counts, weight);
  const V r = hn::Mul(hn::LoadU(d, row.plane[0] + x), w);
  const V g = hn::Mul(hn::LoadU(d, row.plane[1] + x), w);
  const V b = hn::Mul(hn::LoadU(d, row.plane[2] + x), w);
  if (kOrdinary) {
    sum = addSums(sum, {r, g, b, w});
  } else {
    const VectorSum added = addSums(sum, {r, g, b, w});
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

template <bool kOrdinary>
HWY_INLINE VectorSum sumColumn(const NoiseRow& row, int dx, int x, const VectorTolerance& t) {
  const Floats d;
  VectorSum sum = emptySum();
  HWY_UNROLL(5) for (int dy = -kReach; dy <= kReach; ++dy) {
    if (dx == 0 && dy == 0) continue;
    const V distance = hn::LoadU(d, row.distance[dy + kReach][dx + kReach] + x);
    const V coef = hn::Set(d, kNeighbourWeight[dy + kReach][dx + kReach]);
    const V weight = hn::Mul(coef, similarityFactor<kOrdinary>(distance, t));
    addWeighted<kOrdinary>(row.level[dy + kReach], x + dx, weight, hn::Not(hn::Gt(distance, t.cut)), sum);
  }
  return sum;
}

// The pixel itself where no neighbour is similar, else its own value moved towards the average.
HWY_INLINE void mixPlane(const NoiseRow& row, int plane, int x, V sum, V inverseWeight, V outerMix, V centreMix,
                         Mask isAlone) {
  const Floats d;
  const V average = hn::Mul(sum, inverseWeight);
  const V own = hn::LoadU(d, row.own.plane[plane] + x);
  const V mixed = hn::Add(hn::Mul(own, centreMix), hn::Mul(average, outerMix));
  const V centre = hn::LoadU(d, row.level[kReach].plane[plane] + x);
  hn::StoreU(hn::IfThenElse(isAlone, centre, mixed), d, row.reduced.plane[plane] + x);
}

template <bool kOrdinary>
HWY_NOINLINE void reduceNoiseRow(const NoiseRow& row, int xStart, int xEnd, const NoiseSettings& s) {
  const Floats d;
  const V one = hn::Set(d, 1.0f);
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorTolerance t = toleranceAt(row.level[kReach], x, s);
    VectorSum sum = sumColumn<kOrdinary>(row, -kReach, x, t);
    for (int dx = 1 - kReach; dx <= kReach; ++dx) sum = addSums(sum, sumColumn<kOrdinary>(row, dx, x, t));

    const Mask isAlone = hn::Eq(sum.weight, hn::Zero(d));
    const V inverseWeight = hn::Div(one, sum.weight);
    const V outerMix = hn::Mul(hn::Set(d, s.amount), hn::Sub(one, hn::Div(one, hn::Add(sum.weight, one))));
    const V centreMix = hn::Sub(one, outerMix);
    mixPlane(row, 0, x, sum.r, inverseWeight, outerMix, centreMix, isAlone);
    mixPlane(row, 1, x, sum.g, inverseWeight, outerMix, centreMix, isAlone);
    mixPlane(row, 2, x, sum.b, inverseWeight, outerMix, centreMix, isAlone);
    hn::StoreU(hn::IfThenZeroElse(isAlone, outerMix), d, row.records.plane[0] + x);
    hn::StoreU(t.threshold, d, row.records.plane[1] + x);
    hn::StoreU(t.rolloff, d, row.records.plane[2] + x);
  }
}

#endif  // HWY_TARGET != HWY_SCALAR
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
