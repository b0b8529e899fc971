// Per-target: sums of three floats formed in double and rounded once, and the quicker way to the same bits.
#if defined(VESKARO_SIMD_EXACT_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_EXACT_SUMS_INL_H
#undef VESKARO_SIMD_EXACT_SUMS_INL_H
#else
#define VESKARO_SIMD_EXACT_SUMS_INL_H
#endif

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::simd::HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// (a + b) + c formed in double and rounded once; right for every value.
HWY_INLINE V sumInDouble(V a, V b, V c) {
  const Widened wa = widen(a);
  const Widened wb = widen(b);
  const Widened wc = widen(c);
  return narrow(hn::Add(hn::Add(wa.low, wb.low), wc.low), hn::Add(hn::Add(wa.high, wb.high), wc.high));
}

// a + b and a - b on the units that multiply, for sums that keep those that add waiting: 1 * a is exact.
HWY_INLINE V addByMultiplier(V a, V b) {
  return hn::MulAdd(hn::Set(Floats(), 1.0f), a, b);
}
HWY_INLINE V subtractByMultiplier(V a, V b) {
  return hn::NegMulAdd(hn::Set(Floats(), 1.0f), b, a);
}

// The same for a, b, c >= 0 without leaving float: the error terms of two exact additions (Fast2Sum, Dekker 1971) are
// put back at the end. Right when the sum of the errors is itself a float, which hasExactSums ensures.
HWY_INLINE V compensatedSum(V a, V b, V c) {
  const V larger = hn::Max(a, b);
  const V smaller = hn::Min(a, b);
  const V first = hn::Add(larger, smaller);
  const V firstError = subtractByMultiplier(smaller, subtractByMultiplier(first, larger));
  const V upper = hn::Max(first, c);
  const V lower = hn::Min(first, c);
  const V second = hn::Add(upper, lower);
  const V secondError = subtractByMultiplier(lower, subtractByMultiplier(second, upper));
  return addByMultiplier(second, addByMultiplier(firstError, secondError));
}

// Whether samples are 0 or within [2^-12, 2^9) in magnitude. They are then multiples of 2^-35, and so are the terms of
// every sum of differences; every such sum stays below 2^13: the errors of forming it, at most 2^-12 and 2^-13, add up
// to a multiple of 2^-35 below 2^-11, which is a float.
HWY_INLINE Mask hasExactSums(V v) {
  const Floats d;
  const V magnitude = hn::Abs(v);
  const Mask inRange = hn::And(hn::Ge(magnitude, hn::Set(d, 0.000244140625f)), hn::Lt(magnitude, hn::Set(d, 512.0f)));
  return hn::Or(inRange, hn::Eq(v, hn::Zero(d)));
}

// Whether all samples of some planes over [xStart, xEnd) are. They are finite then, too.
template <typename Float, int kPlanes>
HWY_INLINE bool haveExactSums(Float* const (&planes)[kPlanes], int xStart, int xEnd) {
  const Floats d;
  Mask all = hn::Eq(hn::Zero(d), hn::Zero(d));
  for (int x = xStart; x < xEnd; x += lanes()) {
    for (const float* plane : planes) all = hn::And(all, hasExactSums(hn::LoadU(d, plane + x)));
  }
  return hn::AllTrue(d, all);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
