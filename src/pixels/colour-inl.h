// Per-target: the luma and colour-difference transforms of colour.h, a lane a pixel.
#if defined(VESKARO_PIXELS_COLOUR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PIXELS_COLOUR_INL_H
#undef VESKARO_PIXELS_COLOUR_INL_H
#else
#define VESKARO_PIXELS_COLOUR_INL_H
#endif

#include "pixels/colour.h"
#include "simd/rgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pixels::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

struct VectorYcc {
  V y, bMinusY, rMinusY;
};

HWY_INLINE VectorYcc toYcc(const VectorRgb& p) {
  const Floats d;
  const V gb = hn::Add(hn::Mul(p.g, hn::Set(d, kLumaG)), hn::Mul(hn::Set(d, kLumaB), p.b));
  const V y = hn::Add(gb, hn::Mul(hn::Set(d, kLumaR), p.r));
  return {y, hn::Sub(p.b, y), hn::Sub(p.r, y)};
}

HWY_INLINE VectorRgb toRgb(const VectorYcc& p) {
  const Floats d;
  const V r = hn::Add(p.rMinusY, p.y);
  const V b = hn::Add(p.bMinusY, p.y);
  const V rest = hn::Sub(hn::Sub(p.y, hn::Mul(hn::Set(d, kLumaR), r)), hn::Mul(hn::Set(d, kLumaB), b));
  return {r, hn::Mul(rest, hn::Set(d, kInverseLumaG)), b};
}

HWY_INLINE VectorYcc toComparisonYcc(const VectorRgb& p) {
  const Floats d;
  const V gr = hn::Add(hn::Mul(hn::Set(d, kLumaG), p.g), hn::Mul(hn::Set(d, kLumaR), p.r));
  const V y = hn::Add(gr, hn::Mul(hn::Set(d, kLumaB), p.b));
  return {y, hn::Sub(p.b, y), hn::Sub(p.r, y)};
}

// The comparison form of the pixels [xStart, xEnd) of a row.
template <class Row>
HWY_INLINE void toComparisonRow(const Row& rgb, int xStart, int xEnd, const Row& comparison) {
  for (int x = xStart; x < xEnd; x += lanes()) {
    const VectorYcc p = toComparisonYcc(loadRgb(rgb, x));
    storeRgb({p.y, p.bMinusY, p.rMinusY}, comparison, x);
  }
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pixels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
