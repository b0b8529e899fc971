// Per-target: a pixel's bytes from its own chroma and a new log luminance, in single precision throughout. Bytes are
// cut off, not rounded, so that an approximation settles them unless it comes close to a whole number; then the exact
// way has to be taken. Either way the bytes are the same.
#if defined(VESKARO_HDR_QUICK_COLOUR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_QUICK_COLOUR_INL_H
#undef VESKARO_HDR_QUICK_COLOUR_INL_H
#else
#define VESKARO_HDR_QUICK_COLOUR_INL_H
#endif

#include "hdr/rgbe-inl.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// e^v within 2^-22.5 of itself, for floats within [-80, 80]: 2^k e^r with |r| at most ln 2 / 2.
HWY_INLINE V nearlyExp(V v) {
  const Floats d;
  const Ints di;
  const V k = hn::Round(hn::Mul(v, hn::Set(d, 1.44269504f)));
  constexpr float kLn2High = 0.693359375f, kLn2Low = -2.12194440e-4f;  // the first has 9 bits
  const V r = hn::NegMulAdd(k, hn::Set(d, kLn2Low), hn::NegMulAdd(k, hn::Set(d, kLn2High), v));
  V sum = hn::Set(d, 0x1.6d75e6p-10f);
  for (float factor : {0x1.12705ap-7f, 0x1.5554acp-5f, 0x1.555402p-3f, 0.5f, 1.0f, 1.0f}) {
    sum = hn::MulAdd(sum, r, hn::Set(d, factor));
  }
  return hn::BitCast(d, hn::Add(hn::BitCast(di, sum), hn::ShiftLeft<23>(hn::ConvertTo(di, k))));
}

// Cb and Cr of mantissas are whole ten-thousandths, exact in float.
HWY_INLINE V tenThousandths(float r, float g, float b, const VRgb& m) {
  const Floats d;
  const V sum = hn::MulAdd(hn::Set(d, g), m.g, hn::Mul(hn::Set(d, r), m.r));
  return hn::MulAdd(hn::Set(d, b), m.b, sum);
}

HWY_INLINE VRgb nearlyWithLuminance(const VPixels& p, V logLuma) {
  const Floats d;
  const VRgb m = mantissas(p);
  const V scale = scaleOf(p), luma = nearlyExp(logLuma);
  const V cb = hn::Mul(tenThousandths(-1687.0f, -3313.0f, 5000.0f, m), scale);
  const V cr = hn::Mul(tenThousandths(5000.0f, -4187.0f, -813.0f, m), scale);
  return {hn::MulAdd(hn::Set(d, 1.402e-4f), cr, luma),
          hn::NegMulAdd(hn::Set(d, 0.71414e-4f), cr, hn::NegMulAdd(hn::Set(d, 0.34414e-4f), cb, luma)),
          hn::MulAdd(hn::Set(d, 1.772e-4f), cb, luma)};
}

// The mantissa of a scaled channel that lies within 2^-10 of value; collects in doubt where that leaves two.
HWY_INLINE VI settledMantissa(V value, VI* doubt) {
  const Floats d;
  const V reach = hn::Set(d, 0x1p-10f), positive = hn::Max(value, hn::Zero(d));
  const VI mantissa = truncated(hn::Add(positive, reach));
  *doubt = hn::Or(*doubt, hn::Xor(mantissa, truncated(hn::Sub(positive, reach))));
  return mantissa;
}

// Writes the pixels with a new luminance, or nothing and returns false. For ordinary pixels and logarithms within
// [-80, 80].
//
// How far a channel may be out: with L the largest channel, the formulas leave luminance below 3.4 L and the term of Cb
// or Cr in a channel below 7.8 L. The luminance errs by 2^-22.5 of itself, the term by 3 roundings of 2^-24 of itself
// and the sum by one: less than 2^-18.5 L together, and L becomes less than 2^8. A scale that is out by a factor of 2
// shows as a largest channel near 128 or 256. The exact Cb and Cr of a grey are not 0 but what rounding leaves, less
// than 2^-42 of a unit of the mantissas: nothing beside a channel above 2^-20 of that unit.
HWY_INLINE bool storeWhereSettled(const VPixels& p, V logLuma, const RgbeRow& row, int i) {
  const Floats d;
  const Ints di;
  const VRgb c = nearlyWithLuminance(p, logLuma);
  const V largest = hn::Max(hn::Max(c.g, c.r), c.b);
  const VI exponent = hn::And(hn::BitCast(di, largest), hn::Set(di, 0x7f800000));
  const VRgb scaled = times(c, hn::BitCast(d, hn::Sub(hn::Set(di, 261 << 23), exponent)));
  VI doubt = hn::Zero(di);
  const VI r = settledMantissa(scaled.r, &doubt), g = settledMantissa(scaled.g, &doubt),
           b = settledMantissa(scaled.b, &doubt);
  const V least = hn::Max(hn::Mul(scaleOf(p), hn::Set(d, 0x1p-20f)), hn::Set(d, 2e-32f));
  const auto isVisible = hn::RebindMask(di, hn::Gt(largest, least));
  if (!hn::AllTrue(di, hn::And(isVisible, hn::Eq(doubt, hn::Zero(di))))) return false;
  storeLowBytes(r, row.r + i);
  storeLowBytes(g, row.g + i);
  storeLowBytes(b, row.b + i);
  storeLowBytes(hn::Add(hn::ShiftRight<23>(exponent), hn::Set(di, 128 - 126)), row.e + i);
  return true;
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
