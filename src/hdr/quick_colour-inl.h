// Per-target: a pixel's bytes from its own chroma and a new log luminance, in single precision throughout. Bytes are
// cut off, not rounded, so that an approximation settles them unless it comes close to a whole number; then the exact
// way has to be taken. Either way the bytes are the same.
#if defined(VESKARO_HDR_QUICK_COLOUR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_QUICK_COLOUR_INL_H
#undef VESKARO_HDR_QUICK_COLOUR_INL_H
#else
#define VESKARO_HDR_QUICK_COLOUR_INL_H
#endif

#include <limits>

#include "hdr/rgbe-inl.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// Beyond these the exponential, or the colour rebuilt from it, may leave the range of ordinary pixels.
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
HWY_INLINE V tenThousandths(float r, float g, float b, const VRgb& m) {
  const Floats d;
  const V sum = hn::MulAdd(hn::Set(d, g), m.g, hn::Mul(hn::Set(d, r), m.r));
  return hn::MulAdd(hn::Set(d, b), m.b, sum);
}

HWY_INLINE VRgb nearlyColour(const VPixels& p, V luma) {
  const Floats d;
  const VRgb m = mantissas(p);
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
constexpr int kReach = 1 << (kFractionBits - 10);

// A scaled channel, moved up by kReach so that a fraction below 2 kReach tells of one that is too near. What lies below
// 0, or as near above it, is cut off to 0 for sure.
HWY_INLINE VI toFixed(V channel, V scale) {
  const Floats d;
  const VI fixed = truncated(hn::MulAdd(channel, scale, hn::Set(d, static_cast<float>(kReach))));
  return hn::Max(fixed, hn::Set(Ints(), 2 * kReach));
}

// Positive bits of the fraction, or 0 for one that is too near.
HWY_INLINE VI clearance(VI fixed) {
  return hn::And(fixed, hn::Set(Ints(), (1 << kFractionBits) - 2 * kReach));
}

// Pixels with a new luminance. Ordinary ones with logarithms within [-80, 80] are in doubt only when they come too
// near.
//
// How far a channel may be out: with L the largest channel, the formulas leave luminance below 3.4 L and the term of Cb
// or Cr in a channel below 7.8 L. The luminance errs by 2^-22.5 of itself, the term by 3 roundings of 2^-24 of itself
// and the sum by one: less than 2^-18.5 L together, and L becomes less than 2^8. A scale that is out by a factor of 2
// shows as a largest channel near 128 or 256. The exact Cb and Cr of a grey are not 0 but what rounding leaves, less
// than 2^-42 of a unit of the mantissas: nothing beside a channel above 2^-20 of that unit.
HWY_INLINE NearlyPixels nearlyWithLuminance(const VPixels& p, V luma) {
  const Floats d;
  const Ints di;
  const VRgb c = nearlyColour(p, luma);
  const V largest = largestOf(c);
  const VI exponent = exponentBits(largest);
  const V scale = encodingScale<kFractionBits>(exponent);
  const VI r = toFixed(c.r, scale), g = toFixed(c.g, scale), b = toFixed(c.b, scale);

  const VI isNear = hn::Sub(hn::Min(hn::Min(clearance(r), clearance(g)), clearance(b)), hn::Set(di, 1));
  const V least = hn::Max(hn::Mul(scaleOf(p), hn::Set(d, 0x1p-20f)), hn::Set(d, 0x1p-104f));
  const VI isSmall = bitsOf(hn::Sub(largest, least));
  const VI doubt = hn::Or3(isNear, isSmall, signsOfOrdinary(p));
  return {r, g, b, hn::Add(exponent, hn::Set(di, kExponentStep << 23)), doubt};
}

// Bits 16 to 31 of the lanes of two vectors, shifted right and cut to bytes.
template <int kShift>
HWY_INLINE void storeUpperBytes(VI first, VI second, unsigned char* to) {
  const hn::Repartition<std::uint16_t, Floats> halves;
  const auto upper =
      hn::ShiftRight<kShift>(hn::ConcatOdd(halves, hn::BitCast(halves, second), hn::BitCast(halves, first)));
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi16_epi8(upper.raw));
#else
  const hn::Rebind<std::uint8_t, decltype(halves)> bytes;
  hn::StoreU(hn::TruncateTo(bytes, upper), bytes, to);
#endif
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
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
