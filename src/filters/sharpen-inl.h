// Per-target: the sharpening filter on one row, a lane a pixel. The steps and their order are those of sharpen.cpp.
#if defined(VESKARO_FILTERS_SHARPEN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_SHARPEN_INL_H
#undef VESKARO_FILTERS_SHARPEN_INL_H
#else
#define VESKARO_FILTERS_SHARPEN_INL_H
#endif

#include "filters/colour_difference-inl.h"
#include "filters/noise_reduce-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

struct SharpenRow {
  StripRow reduced[5];  // the rows from two above to two below
  DistanceRow distance;
  StripRow records;    // of the noise filter
  StripRow sharpened;  // result
  StripRow band;       // between the steps: greatest distance that counts, inverse threshold, inverse rolloff
  StripRow sum;        // between the steps: weighted sums
  StripRow weight;     // between the steps: weight sum
};

struct VectorBand {
  V threshold, cut, perThreshold, perRolloff;
};

// The distances that count around each pixel: the weight rises up to the threshold and falls over the rolloff. Where
// the end is not a number no distance is beyond it, nor is an ordinary one beyond infinity.
template <bool kOrdinary>
HWY_INLINE void computeBands(const SharpenRow& row, int xStart, int xEnd) {
  const Floats d;
  const V one = hn::Set(d, 1.0f);
  for (int x = xStart; x < xEnd; x += lanes()) {
    const V threshold = hn::LoadU(d, row.records.plane(2) + x);
    const V rolloff = hn::Mul(hn::Set(d, 0.25f), threshold);
    const V end = hn::Add(threshold, rolloff);
    const V cut = kOrdinary ? hn::IfThenElse(hn::Eq(end, end), end, hn::Inf(d)) : end;
    storeRgb({cut, hn::Div(one, threshold), hn::Div(one, rolloff)}, row.band, x);
  }
}

template <bool kOrdinary, int kDx, int kDy>
HWY_INLINE void addSharpeningNeighbour(const SharpenRow& row, int x, const VectorBand& band, VectorSum& sum) {
  const Floats d;
  constexpr float kWeight = kNeighbourWeight[kDy + kReach][kDx + kReach];
  const V distance = row.distance.to<kDx, kDy>(x);
  const V risingSlope = hn::Mul(hn::Set(d, kWeight), band.perThreshold);
  const V fallingSlope = hn::Mul(hn::Set(d, sharpeningSlopeWeight(kDx, kDy)), band.perRolloff);
  const Mask isBelow = hn::Le(distance, band.threshold);
  const Mask isWithin = kOrdinary ? hn::Lt(distance, band.cut) : hn::Not(hn::Ge(distance, band.cut));
  const V rising = hn::Mul(risingSlope, distance);
  const V falling = hn::Add(hn::Mul(hn::Sub(band.threshold, distance), fallingSlope), hn::Set(d, kWeight));
  const V weight = hn::IfThenElse(isBelow, rising, hn::IfThenElseZero(isWithin, falling));
  addWeighted<kOrdinary>(row.reduced[kDy + kReach], x + kDx, weight, hn::Or(isBelow, isWithin), sum);
}

template <bool kOrdinary, int kDy>
HWY_INLINE void addSharpeningRow(const SharpenRow& row, int x, const VectorBand& band, VectorSum& sum) {
  addSharpeningNeighbour<kOrdinary, -2, kDy>(row, x, band, sum);
  addSharpeningNeighbour<kOrdinary, -1, kDy>(row, x, band, sum);
  if constexpr (kDy != 0) addSharpeningNeighbour<kOrdinary, 0, kDy>(row, x, band, sum);
  addSharpeningNeighbour<kOrdinary, +1, kDy>(row, x, band, sum);
  addSharpeningNeighbour<kOrdinary, +2, kDy>(row, x, band, sum);
}

template <bool kOrdinary>
HWY_INLINE void sumSharpeningNeighbours(const SharpenRow& row, int xStart, int xEnd) {
  const Floats d;
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorBand band = {hn::LoadU(d, row.records.plane(2) + x), hn::LoadU(d, row.band.plane(0) + x),
                             hn::LoadU(d, row.band.plane(1) + x), hn::LoadU(d, row.band.plane(2) + x)};
    VectorSum sum = emptySum();
    addSharpeningRow<kOrdinary, -2>(row, x, band, sum);
    addSharpeningRow<kOrdinary, -1>(row, x, band, sum);
    addSharpeningRow<kOrdinary, 0>(row, x, band, sum);
    addSharpeningRow<kOrdinary, +1>(row, x, band, sum);
    addSharpeningRow<kOrdinary, +2>(row, x, band, sum);
    storeRgb({sum.r, sum.g, sum.b}, row.sum, x);
    hn::StoreU(sum.weight, d, row.weight.plane(0) + x);
  }
}

// Pushes luma and colour differences away from the average.
HWY_INLINE VectorRgb pushAway(const VectorRgb& own, const VectorSum& sum, V mixFraction,
                              const params::SharpenSettings& s) {
  const Floats d;
  const V inverseWeight = hn::Div(hn::Set(d, 1.0f), sum.weight);
  const VectorYcc average =
      toYcc({hn::Mul(sum.r, inverseWeight), hn::Mul(sum.g, inverseWeight), hn::Mul(sum.b, inverseWeight)});
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
    const VectorSum sum = {total.r, total.g, total.b, hn::LoadU(d, row.weight.plane(0) + x)};
    const VectorRgb own = loadRgb(row.reduced[kReach], x);
    const VectorRgb pushed = pushAway(own, sum, hn::LoadU(d, row.records.plane(0) + x), s);
    const Mask isFlat = hn::Eq(sum.weight, hn::Zero(d));
    storeRgb({hn::IfThenElse(isFlat, own.r, pushed.r), hn::IfThenElse(isFlat, own.g, pushed.g),
              hn::IfThenElse(isFlat, own.b, pushed.b)},
             row.sharpened, x);
  }
}

// Step by step over the whole row, like reduceNoiseRow.
template <bool kOrdinary>
HWY_NOINLINE void sharpenRow(const SharpenRow& row, int xStart, int xEnd, const params::SharpenSettings& s) {
  computeBands<kOrdinary>(row, xStart, xEnd);
  sumSharpeningNeighbours<kOrdinary>(row, xStart, xEnd);
  pushRow(row, xStart, xEnd, s);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
