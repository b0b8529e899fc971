// Per-target: the blend of blend.cpp, a lane a pixel.
#if defined(VESKARO_BLEND_BLEND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_BLEND_BLEND_INL_H
#undef VESKARO_BLEND_BLEND_INL_H
#else
#define VESKARO_BLEND_BLEND_INL_H
#endif

#include "params/settings.h"
#include "pixels/colour-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::blend::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

HWY_INLINE V highlightFactor(V y, const params::BlendSettings& s) {
  const Floats d;
  const V ramp = hn::Add(hn::Mul(hn::Set(d, s.highlightSlope), y), hn::Set(d, s.highlightIntercept));
  const V upper = hn::IfThenElse(hn::Ge(y, hn::Set(d, s.highlightHigh)), hn::Set(d, s.highlightAbove), ramp);
  return hn::IfThenElse(hn::Gt(y, hn::Set(d, s.highlightLow)), upper, hn::Set(d, s.highlightBelow));
}

HWY_INLINE V mixLuma(V original, V filtered, V share) {
  const VD one = hn::Set(Doubles(), 1.0);
  const Widened o = widen(original);
  const Widened s = widen(share);
  const Widened f = widen(hn::Mul(filtered, share));
  return narrow(hn::Add(hn::Mul(hn::Sub(one, s.low), o.low), f.low),
                hn::Add(hn::Mul(hn::Sub(one, s.high), o.high), f.high));
}

HWY_INLINE VectorYcc mixYcc(const VectorRgb& original, const VectorRgb& filtered, float toWorking,
                            const params::BlendSettings& s) {
  const Floats d;
  const VectorYcc in = toYcc(original);
  const VectorYcc nr = toYcc(filtered);
  const V lumaShare = hn::Mul(highlightFactor(hn::Mul(nr.y, hn::Set(d, toWorking)), s), hn::Set(d, s.luma));
  const V chroma = hn::Set(d, s.chroma);
  const V chromaKept = hn::Set(d, 1.0f - s.chroma);
  return {mixLuma(in.y, nr.y, lumaShare), hn::Add(hn::Mul(nr.bMinusY, chroma), hn::Mul(chromaKept, in.bMinusY)),
          hn::Add(hn::Mul(nr.rMinusY, chroma), hn::Mul(in.rMinusY, chromaKept))};
}

HWY_INLINE VectorRgb mixPixels(const VectorRgb& original, const VectorRgb& filtered, float toWorking,
                               const params::BlendSettings& s) {
  return toRgb(mixYcc(original, filtered, toWorking, s));
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::blend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
