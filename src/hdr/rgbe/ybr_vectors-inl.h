// Per-target: YCbCr of whole vectors, in double, each result rounded to float once.
#if defined(VESKARO_HDR_RGBE_YBR_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_RGBE_YBR_VECTORS_INL_H
#undef VESKARO_HDR_RGBE_YBR_VECTORS_INL_H
#else
#define VESKARO_HDR_RGBE_YBR_VECTORS_INL_H
#endif

#include "hdr/rgbe/rgbe_vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// The transforms work on mantissas and scale their results: with safe exponents a power of two commutes with every
// rounding. Half a mantissa is exact, so that fusing it with a sum changes nothing.
struct WidenedRgb {
  Widened r, g, b;
};

HWY_INLINE Widened widenInts(VI v) {
  const Doubles d;
  const hn::Half<Ints> half;
  return {hn::PromoteTo(d, hn::LowerHalf(half, v)), hn::PromoteTo(d, hn::UpperHalf(half, v))};
}

HWY_INLINE WidenedRgb widenMantissas(const VectorPixels& p) {
  return {widenInts(p.r), widenInts(p.g), widenInts(p.b)};
}

template <class Formula>
HWY_INLINE V inDouble(const WidenedRgb& c, const Formula& formula) {
  return narrow(formula(c.r.low, c.g.low, c.b.low), formula(c.r.high, c.g.high, c.b.high));
}

HWY_INLINE VD weighted(double weight, VD v) {
  return hn::Mul(hn::Set(Doubles(), weight), v);
}

// (587 g + 299 r + 114 b) / 1000. The sum is an exact integer, so that the quotient is the float nearest to the
// luminance; so is the plain form's result for every three mantissas, which a test makes sure of.
HWY_INLINE V luminance(const VectorRgb& m) {
  const Floats d;
  const V sum = hn::MulAdd(hn::Set(d, 587.0f), m.g, hn::Mul(hn::Set(d, 299.0f), m.r));
  return hn::Div(hn::MulAdd(hn::Set(d, 114.0f), m.b, sum), hn::Set(d, 1000.0f));
}

HWY_INLINE V cbOf(const WidenedRgb& c) {
  return inDouble(c, [](VD r, VD g, VD b) HWY_ATTR {
    return hn::Sub(hn::MulAdd(hn::Set(Doubles(), 0.5), b, weighted(-0.1687, r)), weighted(0.3313, g));
  });
}

HWY_INLINE V crOf(const WidenedRgb& c) {
  return inDouble(c, [](VD r, VD g, VD b) HWY_ATTR {
    return hn::Sub(hn::MulSub(hn::Set(Doubles(), 0.5), r, weighted(0.4187, g)), weighted(0.0813, b));
  });
}

HWY_INLINE VectorRgb toRgb(V luma, V cb, V cr) {
  const V zero = hn::Zero(Floats());
  const Widened y = widen(luma), b = widen(cb), r = widen(cr);
  const auto red = [](VD vy, VD vr) HWY_ATTR { return hn::Add(vy, weighted(1.402, vr)); };
  const auto green = [](VD vy, VD vb, VD vr)
                         HWY_ATTR { return hn::Sub(hn::Sub(vy, weighted(0.34414, vb)), weighted(0.71414, vr)); };
  const auto blue = [](VD vy, VD vb) HWY_ATTR { return hn::Add(vy, weighted(1.772, vb)); };
  return {hn::Max(narrow(red(y.low, r.low), red(y.high, r.high)), zero),
          hn::Max(narrow(green(y.low, b.low, r.low), green(y.high, b.high, r.high)), zero),
          hn::Max(narrow(blue(y.low, b.low), blue(y.high, b.high)), zero)};
}

// Black counts as 1, whose logarithm is 0.
HWY_INLINE V orOne(V v) {
  const Floats d;
  return hn::IfThenElse(hn::Gt(v, hn::Zero(d)), v, hn::Set(d, 1.0f));
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
