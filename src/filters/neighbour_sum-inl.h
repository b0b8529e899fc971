// Per-target: the sums of neighbour_sum.h, a lane a pixel.
#if defined(VESKARO_FILTERS_NEIGHBOUR_SUM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_NEIGHBOUR_SUM_INL_H
#undef VESKARO_FILTERS_NEIGHBOUR_SUM_INL_H
#else
#define VESKARO_FILTERS_NEIGHBOUR_SUM_INL_H
#endif

#include "filters/strip.h"
#include "simd/rgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::filters::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

struct VectorNeighbourSum {
  V r, g, b, weight;
};

HWY_INLINE VectorNeighbourSum emptySum() {
  const V zero = hn::Zero(Floats());
  return {zero, zero, zero, zero};
}

HWY_INLINE VectorNeighbourSum addSums(const VectorNeighbourSum& a, const VectorNeighbourSum& b) {
  return {hn::Add(a.r, b.r), hn::Add(a.g, b.g), hn::Add(a.b, b.b), hn::Add(a.weight, b.weight)};
}

// sum += weight * (r, g, b, 1) in the lanes that count; in the others the weight is 0. There the sum must keep its
// bits, and finite samples leave it so (s + 0 * x = s for every finite x); others may not be added.
template <bool kSamplesAreFinite>
HWY_INLINE void addWeighted(const StripRow& row, int x, V weight, Mask counts, VectorNeighbourSum& sum) {
  const VectorRgb p = times(loadRgb(row, x), weight);
  const VectorNeighbourSum added = addSums(sum, {p.r, p.g, p.b, weight});
  if (kSamplesAreFinite) {
    sum = added;
  } else {
    sum = {hn::IfThenElse(counts, added.r, sum.r), hn::IfThenElse(counts, added.g, sum.g),
           hn::IfThenElse(counts, added.b, sum.b), hn::IfThenElse(counts, added.weight, sum.weight)};
  }
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::filters::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
