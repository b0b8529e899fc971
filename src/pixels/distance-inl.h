// Per-target: the distances of distance.h, a lane a pair of pixels. kSumsAreExact: all samples have exact sums.
#if defined(VESKARO_PIXELS_DISTANCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PIXELS_DISTANCE_INL_H
#undef VESKARO_PIXELS_DISTANCE_INL_H
#else
#define VESKARO_PIXELS_DISTANCE_INL_H
#endif

#include "simd/exact_sums-inl.h"
#include "simd/rgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pixels::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// From differences of R, G, B.
struct ColourDistance {
  template <bool kSumsAreExact>
  static HWY_INLINE V of(V dR, V dG, V dB) {
    return kSumsAreExact ? compensatedSum(dG, dB, dR) : sumInDouble(dG, dB, dR);
  }
};

// From differences of Y, B - Y, R - Y.
struct ComparisonDistance {
  template <bool kSumsAreExact>
  static HWY_INLINE V of(V dY, V dB, V dR) {
    const Floats d;
    // Twice the distance takes one scaling less; halving it afterwards is exact.
    if (kSumsAreExact) return hn::Mul(hn::Set(d, 0.5f), compensatedSum(dR, dB, hn::Mul(hn::Set(d, 4.0f), dY)));
    const Doubles dd;
    const Widened y = widen(dY);
    const Widened b = widen(dB);
    const Widened r = widen(dR);
    const VD half = hn::Set(dd, 0.5);
    return narrow(hn::Add(hn::Add(y.low, y.low), hn::Mul(half, hn::Add(r.low, b.low))),
                  hn::Add(hn::Add(y.high, y.high), hn::Mul(half, hn::Add(r.high, b.high))));
  }
};

template <class Distance, bool kSumsAreExact>
HWY_INLINE V distanceBetween(const VectorRgb& a, const VectorRgb& b) {
  return Distance::template of<kSumsAreExact>(hn::Abs(hn::Sub(a.r, b.r)), hn::Abs(hn::Sub(a.g, b.g)),
                                              hn::Abs(hn::Sub(a.b, b.b)));
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pixels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
