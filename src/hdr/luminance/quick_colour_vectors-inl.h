// Per-target: a pixel's bytes from its own chroma and a new log luminance, nearly, in single precision. A byte is a
// channel cut off, so that any approximation gives it whose channel is not near a whole number; there the exact way has
// to be taken. Either way the bytes are the same.
#if defined(VESKARO_HDR_LUMINANCE_QUICK_COLOUR_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_LUMINANCE_QUICK_COLOUR_VECTORS_INL_H
#undef VESKARO_HDR_LUMINANCE_QUICK_COLOUR_VECTORS_INL_H
#else
#define VESKARO_HDR_LUMINANCE_QUICK_COLOUR_VECTORS_INL_H
#endif

#include <limits>

#include "hdr/rgbe/rgbe_vectors-inl.h"
#include "simd/vectors-inl.h"
#include "simd/x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// Beyond these the exponential, or the colour rebuilt from it, may leave the range of safe exponents.
constexpr float kLargestLog = 80.0f;

HWY_INLINE Mask isModerate(V logLuma) {
  const Floats d;
  return hn::Le(hn::Abs(logLuma), hn::Set(d, kLargestLog));
}

// e^v within 2^-22.5 of itself, for floats within [-80, 80]: 2^k e^r with |r| at most ln 2 / 2.
HWY_INLINE V nearlyExp(V v) {
  const Floats d;
  const Ints di;
  const V shift = hn::Set(d, 0x1.8p23f);
  const V shifted = hn::MulAdd(v, hn::Set(d, 1.44269504f), shift);
  const V k = hn::Sub(shifted, shift);
  constexpr float kLn2High = 0.693359375f, kLn2Low = -2.12194440e-4f;  // the first has 9 bits
  const V r = hn::NegMulAdd(k, hn::Set(d, kLn2Low), hn::NegMulAdd(k, hn::Set(d, kLn2High), v));
  V sum = hn::Set(d, 0x1.6d75e6p-10f);
  constexpr float kFactors[] = {0x1.12705ap-7f, 0x1.5554acp-5f, 0x1.555402p-3f, 0.5f, 1.0f, 1.0f};
  HWY_UNROLL(6)
  for (float factor : kFactors) sum = hn::MulAdd(sum, r, hn::Set(d, factor));
  return hn::BitCast(d, hn::Add(hn::BitCast(di, sum), hn::ShiftLeft<23>(hn::BitCast(di, shifted))));
}

// The luminance of a logarithm, nearly; for one beyond kLargestLog an infinity that puts its pixel in doubt.
HWY_INLINE V nearlyLuminance(V logLuma) {
  const Floats d;
  const V infinity = hn::Set(d, -std::numeric_limits<float>::infinity());
  return hn::IfThenElse(isModerate(logLuma), nearlyExp(logLuma), infinity);
}

// Cb and Cr of mantissas are whole ten-thousandths, exact in float.
HWY_INLINE V tenThousandths(float r, float g, float b, const VectorRgb& m) {
  const Floats d;
  const V sum = hn::MulAdd(hn::Set(d, g), m.g, hn::Mul(hn::Set(d, r), m.r));
  return hn::MulAdd(hn::Set(d, b), m.b, sum);
}

HWY_INLINE VectorRgb nearlyColour(const VectorPixels& p, V luma) {
  const Floats d;
  const VectorRgb m = mantissas(p);
  const V scale = scaleOf(p);
  const V cb = hn::Mul(tenThousandths(-1687.0f, -3313.0f, 5000.0f, m), scale);
  const V cr = hn::Mul(tenThousandths(5000.0f, -4187.0f, -813.0f, m), scale);
  return {hn::MulAdd(hn::Set(d, 1.402e-4f), cr, luma),
          hn::NegMulAdd(hn::Set(d, 0.71414e-4f), cr, hn::NegMulAdd(hn::Set(d, 0.34414e-4f), cb, luma)),
          hn::MulAdd(hn::Set(d, 1.772e-4f), cb, luma)};
}

// Pixels about to be written: mantissas in bits 16 to 23, above their fractions, and exponents in bits 23 to 30. Those
// whose doubt is negative are to be made the exact way.
struct NearlyPixels {
  VI r, g, b, e;
  VI doubt;
};

constexpr int kFractionBits = 16;

// How near to a whole number a mantissa may come, 2^-10, in units of its last fraction bit.
constexpr int kNearness = 1 << (kFractionBits - 10);

// A scaled channel, moved up by kNearness so that a fraction below 2 kNearness tells of one that is too near. What lies
// below 0, or as near above it, is cut off to 0 for sure.
HWY_INLINE VI toFixed(V channel, V scale) {
  const Floats d;
  const VI fixed = truncated(hn::MulAdd(channel, scale, hn::Set(d, static_cast<float>(kNearness))));
  return hn::Max(fixed, hn::Set(Ints(), 2 * kNearness));
}

// Positive bits of the fraction, or 0 for one that is too near.
HWY_INLINE VI clearance(VI fixed) {
  return hn::And(fixed, hn::Set(Ints(), (1 << kFractionBits) - 2 * kNearness));
}

// Pixels with a new luminance. Where the doubt is not negative, the bytes are those of the exact way: with L the
// largest channel, which is less than 2^8 units of its mantissa,
//
//   |channel - exact channel| < 2^-18.5 L < 2^-10.5 units,
//
// and no channel comes within 2^-10 units of a whole number. For the formulas leave luminance < 3.4 L and the term of
// Cb or Cr in a channel < 7.8 L; luminance errs by 2^-22.5 of itself, the term by 3 roundings of 2^-24 and the sum by
// one: 3.4 * 2^-22.5 + 7.8 * 3 * 2^-24 < 2^-18.9.
//
// In doubt are, besides channels that come nearer:
// - exponents that are not safe, and logarithms beyond 80, whose infinity leaves L below every float;
// - L within an error of a power of two, where the scale may be out by a factor of 2: it is near 128 or 256 then;
// - L below 2^-20 units of the old mantissas: exact Cb and Cr of a grey are not 0 but what rounding leaves, less than
//   2^-42 of these units.
HWY_INLINE NearlyPixels nearlyWithLuminance(const VectorPixels& p, V luma) {
  const Floats d;
  const Ints di;
  const VectorRgb c = nearlyColour(p, luma);
  const V largest = largestOf(c);
  const VI exponent = exponentBits(largest);
  const V scale = encodingScale<kFractionBits>(exponent);
  const VI r = toFixed(c.r, scale), g = toFixed(c.g, scale), b = toFixed(c.b, scale);

  const VI isNear = hn::Sub(hn::Min(hn::Min(clearance(r), clearance(g)), clearance(b)), hn::Set(di, 1));
  const V least = hn::Max(hn::Mul(scaleOf(p), hn::Set(d, 0x1p-20f)), hn::Set(d, 0x1p-104f));
  const VI isSmall = bitsOf(hn::Sub(largest, least));
  const VI doubt = hn::Or3(isNear, isSmall, signsOfUnsafeExponents(p));
  return {r, g, b, hn::Add(exponent, hn::Set(di, kExponentStep << 23)), doubt};
}

// Writes two vectors that lie side by side.
HWY_INLINE void storeTwo(const NearlyPixels& first, const NearlyPixels& second, const RgbeRow& row, int i) {
  storeUpperBytes<0>(first.r, second.r, row.r + i);
  storeUpperBytes<0>(first.g, second.g, row.g + i);
  storeUpperBytes<0>(first.b, second.b, row.b + i);
  storeUpperBytes<7>(first.e, second.e, row.e + i);
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
