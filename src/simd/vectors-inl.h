// Per-target: vector types and how to walk a row in whole vectors. Included once for every instruction set.
#if defined(VESKARO_SIMD_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_VECTORS_INL_H
#undef VESKARO_SIMD_VECTORS_INL_H
#else
#define VESKARO_SIMD_VECTORS_INL_H
#endif

#include <hwy/highway.h>

#include <utility>

#include "simd/has_vectors.h"

// Where the speed of a lambda depends on it: no call, and the instruction set of the function around it.
#ifndef VESKARO_INLINE_LAMBDA
#define VESKARO_INLINE_LAMBDA HWY_ATTR __attribute__((always_inline))
#endif

HWY_BEFORE_NAMESPACE();
namespace veskaro::simd::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

using Floats = hn::ScalableTag<float>;
using HalfFloats = hn::Half<Floats>;
using Doubles = hn::RepartitionToWide<Floats>;
using Ints = hn::RebindToSigned<Floats>;
using Words = hn::RebindToUnsigned<Floats>;
using V = hn::Vec<Floats>;
using VD = hn::Vec<Doubles>;
using VI = hn::Vec<Ints>;
using VW = hn::Vec<Words>;
using Mask = hn::Mask<Floats>;

HWY_INLINE constexpr int lanes() {
  return static_cast<int>(HWY_LANES(float));
}

HWY_INLINE VI bitsOf(V v) {
  return hn::BitCast(Ints(), v);
}

HWY_INLINE bool anyNegative(VI v) {
  const Ints d;
  return !hn::AllFalse(d, hn::Lt(v, hn::Zero(d)));
}

// A float vector as two double vectors.
struct Widened {
  VD low, high;
};

HWY_INLINE Widened widen(V v) {
  const Doubles d;
  return {hn::PromoteTo(d, hn::LowerHalf(HalfFloats(), v)), hn::PromoteTo(d, hn::UpperHalf(HalfFloats(), v))};
}

// Each double rounded once to float.
HWY_INLINE V narrow(VD low, VD high) {
  const HalfFloats half;
  return hn::Combine(Floats(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}

template <class Visit, int... kEach>
HWY_INLINE void visitEach(const Visit& visit, std::integer_sequence<int, kEach...>) {
  (visit(kEach), ...);
}

// Calls visit(0) to visit(kCount - 1), written out: arrays that are indexed by nothing else stay in registers.
template <int kCount, class Visit>
HWY_INLINE void unrolled(const Visit& visit) {
  visitEach(visit, std::make_integer_sequence<int, kCount>());
}

// Calls visit(i) for the first pixel of each whole vector of [start, end); the last ones overlap. At least a vector's
// worth of pixels.
template <class Visit>
HWY_INLINE void forEachVector(int start, int end, const Visit& visit) {
  for (int i = start; i < end; i += lanes()) visit(i + lanes() <= end ? i : end - lanes());
}

// The same for pairs of vectors that lie side by side; at least two vectors' worth of pixels.
template <class Visit>
HWY_INLINE void forEachTwoVectors(int start, int end, const Visit& visit) {
  const int pair = 2 * lanes();
  for (int i = start; i < end; i += pair) visit(i + pair <= end ? i : end - pair);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
