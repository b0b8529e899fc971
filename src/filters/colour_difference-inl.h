// Per-target: the luma and colour-difference transforms of colour_difference.h, a lane a pixel.
#if defined(VESKARO_FILTERS_COLOUR_DIFFERENCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_FILTERS_COLOUR_DIFFERENCE_INL_H
#undef VESKARO_FILTERS_COLOUR_DIFFERENCE_INL_H
#else
#define VESKARO_FILTERS_COLOUR_DIFFERENCE_INL_H
#endif

#include "filters/colour_difference.h"
#include "filters/level_stream.h"
#include "simd/rows.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

struct VectorRgb {
  V r, g, b;
};

struct VectorYcc {
  V y, bMinusY, rMinusY;
};

HWY_INLINE VectorRgb loadRgb(const Rows& row, std::ptrdiff_t x) {
  const Floats d;
  return {hn::LoadU(d, row.plane[0] + x), hn::LoadU(d, row.plane[1] + x), hn::LoadU(d, row.plane[2] + x)};
}

HWY_INLINE void storeRgb(const VectorRgb& p, const Rows& row, std::ptrdiff_t x) {
  const Floats d;
  hn::StoreU(p.r, d, row.plane[0] + x);
  hn::StoreU(p.g, d, row.plane[1] + x);
  hn::StoreU(p.b, d, row.plane[2] + x);
}

HWY_INLINE VectorRgb loadRgb(const StripRow& row, std::ptrdiff_t x) {
  const Floats d;
  return {hn::LoadU(d, row.plane(0) + x), hn::LoadU(d, row.plane(1) + x), hn::LoadU(d, row.plane(2) + x)};
}

HWY_INLINE void storeRgb(const VectorRgb& p, const StripRow& row, std::ptrdiff_t x) {
  const Floats d;
  hn::StoreU(p.r, d, row.plane(0) + x);
  hn::StoreU(p.g, d, row.plane(1) + x);
  hn::StoreU(p.b, d, row.plane(2) + x);
}

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

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
