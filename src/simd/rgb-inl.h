// Per-target: a vector of pixels, a lane a pixel, a vector a channel.
#if defined(VESKARO_SIMD_RGB_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_RGB_INL_H
#undef VESKARO_SIMD_RGB_INL_H
#else
#define VESKARO_SIMD_RGB_INL_H
#endif

#include "simd/ring.h"
#include "simd/rows.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::simd::HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

struct VectorRgb {
  V r, g, b;
};

HWY_INLINE VectorRgb times(const VectorRgb& p, V factor) {
  return {hn::Mul(p.r, factor), hn::Mul(p.g, factor), hn::Mul(p.b, factor)};
}

HWY_INLINE VectorRgb choose(Mask choice, const VectorRgb& yes, const VectorRgb& no) {
  return {hn::IfThenElse(choice, yes.r, no.r), hn::IfThenElse(choice, yes.g, no.g),
          hn::IfThenElse(choice, yes.b, no.b)};
}

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

template <class RowPitch>
HWY_INLINE VectorRgb loadRgb(const PlaneRow<RowPitch>& row, std::ptrdiff_t x) {
  return loadRgb(row.rows(), x);
}

template <class RowPitch>
HWY_INLINE void storeRgb(const VectorRgb& p, const PlaneRow<RowPitch>& row, std::ptrdiff_t x) {
  storeRgb(p, row.rows(), x);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
