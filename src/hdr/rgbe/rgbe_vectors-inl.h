// Per-target: a vector's worth of RGBE pixels to floats and back.
#if defined(VESKARO_HDR_RGBE_RGBE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_RGBE_RGBE_VECTORS_INL_H
#undef VESKARO_HDR_RGBE_RGBE_VECTORS_INL_H
#else
#define VESKARO_HDR_RGBE_RGBE_VECTORS_INL_H
#endif

#include <hwy/cache_control.h>

#include "hdr/rgbe/rgbe.h"
#include "simd/rgb-inl.h"
#include "simd/vectors-inl.h"
#include "simd/x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// Mantissas and exponents.
struct VectorPixels {
  VI r, g, b, e;
};

HWY_INLINE VectorPixels loadPixels(const ConstRgbeRow& row, int i) {
  const Ints di;
  const VectorBytes bytes;
  return {hn::PromoteTo(di, hn::LoadU(bytes, row.r + i)), hn::PromoteTo(di, hn::LoadU(bytes, row.g + i)),
          hn::PromoteTo(di, hn::LoadU(bytes, row.b + i)), hn::PromoteTo(di, hn::LoadU(bytes, row.e + i))};
}

// Rows are too short for the processor to foresee the next one: each is fetched while the one above it is read.
HWY_INLINE void prefetchPixels(const ConstRgbeRow& row, int i) {
  for (const unsigned char* run : {row.r, row.g, row.b, row.e}) hwy::Prefetch(run + i);
}

// Exponents of the middle range: with them no scale, sum, ratio or reciprocal is subnormal or beyond the float range,
// and no encoded exponent wraps.
constexpr int kFirstSafeExponent = 31, kLastSafeExponent = 240;

// Whether every pixel is black or has such an exponent. Others take the plain form, pixel by pixel.
HWY_INLINE bool exponentsAreSafe(const VectorPixels& p) {
  const Ints di;
  const auto inRange =
      hn::And(hn::Gt(p.e, hn::Set(di, kFirstSafeExponent - 1)), hn::Lt(p.e, hn::Set(di, kLastSafeExponent + 1)));
  return hn::AllTrue(di, hn::Or(inRange, hn::Eq(p.e, hn::Zero(di))));
}

// Negative where a pixel's exponent is not safe.
HWY_INLINE VI signsOfUnsafeExponents(const VectorPixels& p) {
  const Ints di;
  const VI isBlack = hn::Sub(p.e, hn::Set(di, 1));
  const VI isOutside =
      hn::Or(hn::Sub(p.e, hn::Set(di, kFirstSafeExponent)), hn::Sub(hn::Set(di, kLastSafeExponent), p.e));
  return hn::AndNot(isBlack, isOutside);
}

HWY_INLINE VectorRgb mantissas(const VectorPixels& p) {
  const Floats d;
  return {hn::ConvertTo(d, p.r), hn::ConvertTo(d, p.g), hn::ConvertTo(d, p.b)};
}

// 2^(e - 136), by its bits, and 0 for black.
HWY_INLINE V scaleOf(const VectorPixels& p) {
  const Floats d;
  const Ints di;
  const V scale = hn::BitCast(d, hn::ShiftLeft<23>(hn::Sub(p.e, hn::Set(di, 136 - 127))));
  return hn::IfThenZeroElse(hn::RebindMask(d, hn::Eq(p.e, hn::Zero(di))), scale);
}

// For safe exponents, as all that follows.
HWY_INLINE VectorRgb decode(const VectorPixels& p) {
  return times(mantissas(p), scaleOf(p));
}

HWY_INLINE V largestOf(const VectorRgb& c) {
  return hn::Max(hn::Max(c.g, c.r), c.b);
}

HWY_INLINE VI exponentBits(V v) {
  return hn::And(bitsOf(v), hn::Set(Ints(), 0x7f800000));
}

// The power of two that takes a channel with these exponent bits to [128, 256), times 2^kFractionBits: with the biased
// exponent x it is 2^(8 - (x - 126)), whose own biased exponent is 261 - x.
template <int kFractionBits>
HWY_INLINE V encodingScale(VI exponent) {
  constexpr int kSum = static_cast<int>((261u + kFractionBits) << 23);
  return hn::BitCast(Floats(), hn::Sub(hn::Set(Ints(), kSum), exponent));
}

// From what the exponent bits of the largest channel hold to what the pixel's byte holds.
constexpr int kExponentStep = 128 - 126;

// For finite channels. A negative channel beyond the ints converts to the smallest int, whose low byte is 0.
HWY_INLINE void encode(const VectorRgb& c, const RgbeRow& row, int i) {
  const Floats d;
  const Ints di;
  const V largest = largestOf(c);
  const VI exponent = exponentBits(largest);
  // No float lies between the double 1e-32 and 1e-32f above it.
  const Mask visible = hn::Ge(largest, hn::Set(d, 1e-32f));
  const V scale = hn::IfThenElseZero(visible, encodingScale<0>(exponent));
  storeLowBytes(truncated(hn::Mul(c.r, scale)), row.r + i);
  storeLowBytes(truncated(hn::Mul(c.g, scale)), row.g + i);
  storeLowBytes(truncated(hn::Mul(c.b, scale)), row.b + i);
  const VI exponentByte = hn::Add(hn::ShiftRight<23>(exponent), hn::Set(di, kExponentStep));
  storeLowBytes(hn::IfThenElseZero(hn::RebindMask(di, visible), exponentByte), row.e + i);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
