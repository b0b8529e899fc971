// Per-target: a vector's worth of RGBE pixels to floats and back.
#if defined(VESKARO_HDR_RGBE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_RGBE_INL_H
#undef VESKARO_HDR_RGBE_INL_H
#else
#define VESKARO_HDR_RGBE_INL_H
#endif

#include <hwy/cache_control.h>

#include <cstdint>

#include "hdr/rgbe.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

using Ints = hn::RebindToSigned<Floats>;
using VI = hn::Vec<Ints>;
using Bytes = hn::Rebind<std::uint8_t, Floats>;

struct VRgb {
  V r, g, b;
};

struct VPixels {
  VI r, g, b, e;
};

HWY_INLINE VPixels loadPixels(const ConstRgbeRow& row, int i) {
  const Ints di;
  const Bytes bytes;
  return {hn::PromoteTo(di, hn::LoadU(bytes, row.r + i)), hn::PromoteTo(di, hn::LoadU(bytes, row.g + i)),
          hn::PromoteTo(di, hn::LoadU(bytes, row.b + i)), hn::PromoteTo(di, hn::LoadU(bytes, row.e + i))};
}

// Rows are too short for the processor to foresee the next one: each is fetched while the one above it is read.
HWY_INLINE void prefetchPixels(const ConstRgbeRow& row, int i) {
  for (const unsigned char* run : {row.r, row.g, row.b, row.e}) hwy::Prefetch(run + i);
}

HWY_INLINE bool anyNegative(VI v) {
  const Ints di;
  return !hn::AllFalse(di, hn::Lt(v, hn::Zero(di)));
}

// Exponents of the middle range: with them no scale, sum, ratio or reciprocal is subnormal or beyond the float range,
// and no encoded exponent wraps.
constexpr int kFirstOrdinary = 31, kLastOrdinary = 240;

// Whether every pixel is black or has such an exponent. Others take the plain form, pixel by pixel.
HWY_INLINE bool areOrdinary(const VPixels& p) {
  const Ints di;
  const auto inRange =
      hn::And(hn::Gt(p.e, hn::Set(di, kFirstOrdinary - 1)), hn::Lt(p.e, hn::Set(di, kLastOrdinary + 1)));
  return hn::AllTrue(di, hn::Or(inRange, hn::Eq(p.e, hn::Zero(di))));
}

// The same as signs, to go with others: negative where a pixel is neither.
HWY_INLINE VI signsOfOrdinary(const VPixels& p) {
  const Ints di;
  const VI isBlack = hn::Sub(p.e, hn::Set(di, 1));
  const VI isOutside = hn::Or(hn::Sub(p.e, hn::Set(di, kFirstOrdinary)), hn::Sub(hn::Set(di, kLastOrdinary), p.e));
  return hn::AndNot(isBlack, isOutside);
}

HWY_INLINE VI bitsOf(V v) {
  return hn::BitCast(Ints(), v);
}

HWY_INLINE VRgb mantissas(const VPixels& p) {
  const Floats d;
  return {hn::ConvertTo(d, p.r), hn::ConvertTo(d, p.g), hn::ConvertTo(d, p.b)};
}

// 2^(e - 136), by its bits, and 0 for black.
HWY_INLINE V scaleOf(const VPixels& p) {
  const Floats d;
  const Ints di;
  const V scale = hn::BitCast(d, hn::ShiftLeft<23>(hn::Sub(p.e, hn::Set(di, 136 - 127))));
  return hn::IfThenZeroElse(hn::RebindMask(d, hn::Eq(p.e, hn::Zero(di))), scale);
}

HWY_INLINE VRgb times(const VRgb& c, V factor) {
  return {hn::Mul(c.r, factor), hn::Mul(c.g, factor), hn::Mul(c.b, factor)};
}

// Toward zero. What no int holds becomes the smallest int, which is what the processor does by itself.
HWY_INLINE VI truncated(V v) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  return VI{_mm512_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
  return VI{_mm256_cvttps_epi32(v.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
  return VI{_mm_cvttps_epi32(v.raw)};
#else
  return hn::ConvertTo(Ints(), v);
#endif
}

HWY_INLINE void storeLowBytes(VI v, unsigned char* to) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(v.raw));
#else
  const hn::RebindToUnsigned<Floats> du;
  hn::StoreU(hn::U8FromU32(hn::And(hn::BitCast(du, v), hn::Set(du, 0xff))), Bytes(), to);
#endif
}

HWY_INLINE V largestOf(const VRgb& c) {
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
HWY_INLINE void storePixels(const VRgb& c, const RgbeRow& row, int i) {
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

// Calls visit(i) for the first pixel of each whole vector of [start, end); the last ones overlap. At least a vector's
// worth of pixels. For the sake of speed the visit is to be inlined.
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

#define VESKARO_INLINE_LAMBDA HWY_ATTR __attribute__((always_inline))

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
