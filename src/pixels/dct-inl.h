// Per-target: the transforms of dct.h, a lane a line of samples.
#if defined(VESKARO_PIXELS_DCT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PIXELS_DCT_INL_H
#undef VESKARO_PIXELS_DCT_INL_H
#else
#define VESKARO_PIXELS_DCT_INL_H
#endif

#include "pixels/dct.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pixels::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

HWY_INLINE void forwardDct(V (&x)[kDctSize]) {
  const Floats d;
  const V sum0 = hn::Add(x[0], x[7]), sum1 = hn::Add(x[1], x[6]);
  const V sum2 = hn::Add(x[2], x[5]), sum3 = hn::Add(x[3], x[4]);
  const V dif0 = hn::Sub(x[0], x[7]), dif1 = hn::Sub(x[1], x[6]);
  const V dif2 = hn::Sub(x[2], x[5]), dif3 = hn::Sub(x[3], x[4]);

  const V outer = hn::Add(sum0, sum3), inner = hn::Add(sum1, sum2);
  const V outerDif = hn::Sub(sum0, sum3), innerDif = hn::Sub(sum1, sum2);
  const V turned = hn::Mul(hn::Add(innerDif, outerDif), hn::Set(d, kCos4));
  x[0] = hn::Add(outer, inner);
  x[4] = hn::Sub(outer, inner);
  x[2] = hn::Add(outerDif, turned);
  x[6] = hn::Sub(outerDif, turned);

  const V a = hn::Add(dif3, dif2), b = hn::Add(dif2, dif1), c = hn::Add(dif1, dif0);
  const V shared = hn::Mul(hn::Sub(a, c), hn::Set(d, kSin8));
  const V low = hn::Add(hn::Mul(hn::Set(d, kCosLessSin), a), shared);
  const V high = hn::Add(hn::Mul(hn::Set(d, kCosAndSin), c), shared);
  const V middle = hn::Mul(b, hn::Set(d, kCos4));
  const V up = hn::Add(dif0, middle), down = hn::Sub(dif0, middle);
  x[5] = hn::Add(down, low);
  x[3] = hn::Sub(down, low);
  x[1] = hn::Add(up, high);
  x[7] = hn::Sub(up, high);
}

HWY_INLINE void inverseDct(V (&x)[kDctSize]) {
  const Floats d;
  const V outer = hn::Add(x[0], x[4]), inner = hn::Sub(x[0], x[4]);
  const V turned = hn::Mul(hn::Sub(x[2], x[6]), hn::Set(d, kCos4));
  const V outerDif = hn::Add(hn::Add(x[2], x[6]), turned);
  const V sum0 = hn::Add(outer, outerDif), sum3 = hn::Sub(outer, outerDif);
  const V sum1 = hn::Add(inner, turned), sum2 = hn::Sub(inner, turned);

  const V down = hn::Add(x[5], x[3]), low = hn::Sub(x[5], x[3]);
  const V up = hn::Add(x[1], x[7]), high = hn::Sub(x[1], x[7]);
  const V middle = hn::Mul(hn::Sub(up, down), hn::Set(d, kCos4));
  const V shared = hn::Mul(hn::Add(low, high), hn::Set(d, kSin8));
  const V a = hn::Add(hn::Mul(hn::Set(d, kCosLessSin), low), shared);
  const V c = hn::Sub(hn::Mul(hn::Set(d, kCosAndSin), high), shared);
  const V dif0 = hn::Add(c, hn::Add(up, down)), dif1 = hn::Add(c, middle), dif2 = hn::Add(a, middle);

  x[0] = hn::Add(sum0, dif0);
  x[7] = hn::Sub(sum0, dif0);
  x[1] = hn::Add(sum1, dif1);
  x[6] = hn::Sub(sum1, dif1);
  x[2] = hn::Add(sum2, dif2);
  x[5] = hn::Sub(sum2, dif2);
  x[3] = hn::Add(sum3, a);
  x[4] = hn::Sub(sum3, a);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pixels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
