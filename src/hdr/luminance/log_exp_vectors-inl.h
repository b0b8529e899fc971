// Per-target: natural logarithm and exponential of whole vectors, evaluated in double and rounded once. The results are
// those of platform/log_exp.h for every float in the stated ranges, on every instruction set.
#if defined(VESKARO_HDR_LUMINANCE_LOG_EXP_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_HDR_LUMINANCE_LOG_EXP_VECTORS_INL_H
#undef VESKARO_HDR_LUMINANCE_LOG_EXP_VECTORS_INL_H
#else
#define VESKARO_HDR_LUMINANCE_LOG_EXP_VECTORS_INL_H
#endif

#include "platform/log_exp_constants.h"
#include "simd/vectors-inl.h"
#include "simd/x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::hdr {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using platform::ExpConstants;
using platform::LogConstants;
#if VESKARO_HAS_VECTORS

// Doubles from their low and high words. The lanes come in the order that interleaving gives: the first of each half
// block, then the second.
struct Interleaved {
  VD first, second;
};

HWY_INLINE Interleaved joinWords(VW low, VW high) {
  const Words d;
  const Doubles dd;
  return {hn::BitCast(dd, hn::InterleaveLower(d, low, high)), hn::BitCast(dd, hn::InterleaveUpper(d, low, high))};
}

// Each double rounded to float, back in the order of the words.
HWY_INLINE V narrowInterleaved(VD first, VD second) {
  const V pairs = narrow(first, second);
  constexpr int kLanes = static_cast<int>(HWY_LANES(float));
  if constexpr (kLanes == 4) {
    return pairs;
  } else {
    const Doubles dd;
    alignas(64) std::int64_t order[kLanes / 2];
    for (int i = 0; i < kLanes / 2; ++i) order[i] = i / 2 + (i % 2) * (kLanes / 4);
    return hn::BitCast(Floats(), hn::TableLookupLanes(hn::BitCast(dd, pairs), hn::SetTableIndices(dd, order)));
  }
}

HWY_INLINE VD logOfParts(VD k, VD z, VD inverse, VD logarithm) {
  const Doubles d;
  const auto constant = [&d](double value) HWY_ATTR { return hn::Set(d, value); };
  const VD r = hn::MulSub(z, inverse, constant(1.0));
  const VD r2 = hn::Mul(r, r);
  const VD head = hn::MulAdd(k, constant(LogConstants::kLn2), logarithm);
  const VD low = hn::MulAdd(constant(LogConstants::kPoly[1]), r, constant(LogConstants::kPoly[2]));
  const VD poly = hn::MulAdd(constant(LogConstants::kPoly[0]), r2, low);
  return hn::MulAdd(poly, r2, hn::Add(head, r));
}

// For positive normal floats.
HWY_INLINE V logOf(V v) {
  const Words d;
  const Doubles dd;
  const VW bits = hn::BitCast(d, v);
  const VW past = hn::Sub(bits, hn::Set(d, LogConstants::kFirst));
  const VW interval = hn::ShiftRight<19>(past);
  const VW z = hn::Sub(bits, hn::And(past, hn::Set(d, 0xff800000u)));

  // z as a double: its exponent rebiased, its fraction widened by 29 bits.
  const Interleaved zs =
      joinWords(hn::ShiftLeft<29>(z), hn::Add(hn::ShiftRight<3>(z), hn::Set(d, (1023u - 127u) << 20)));
  // k as the low word of 2^52 + 2^31 + k.
  const Ints di;
  const VW k = hn::BitCast(d, hn::ShiftRight<23>(hn::BitCast(di, past)));
  const VD offset = hn::Set(dd, 4503599627370496.0 + 2147483648.0);
  const Interleaved ks = joinWords(hn::Xor(k, hn::Set(d, 0x80000000u)), hn::Set(d, 0x43300000u));

  constexpr const auto& inverse = LogConstants::kInverse;
  constexpr const auto& logarithm = LogConstants::kLogarithm;
  const Interleaved inverses = joinWords(lookUp(inverse.low, interval), lookUp(inverse.high, interval));
  const Interleaved logs = joinWords(lookUp(logarithm.low, interval), lookUp(logarithm.high, interval));
  return narrowInterleaved(logOfParts(hn::Sub(ks.first, offset), zs.first, inverses.first, logs.first),
                           logOfParts(hn::Sub(ks.second, offset), zs.second, inverses.second, logs.second));
}

// 32 x / ln 2 - steps to double precision of the small result. x is a float: without fused operations, the product with
// the leading half of the factor is exact.
HWY_INLINE VD fractionOfStep(VD x, VD steps) {
  const Doubles d;
#if HWY_NATIVE_FMA
  return hn::MulSub(x, hn::Set(d, ExpConstants::kStepsPerLn2), steps);
#else
  return hn::Add(hn::Sub(hn::Mul(x, hn::Set(d, ExpConstants::kLeading)), steps),
                 hn::Mul(x, hn::Set(d, ExpConstants::kTrailing)));
#endif
}

// Bits of the powers of two that belong to the steps, whose number stands in the low bits of low and of high: both are
// looked up together, low's in the even words.
HWY_INLINE Widened powersOfSteps(VD low, VD high) {
  const Doubles d;
  const Words dw;
  const hn::RebindToUnsigned<Doubles> du;
  const auto k = hn::BitCast(du, low), l = hn::BitCast(du, high);
  const VW index = hn::OddEven(hn::BitCast(dw, hn::ShiftLeft<32>(l)), hn::BitCast(dw, k));
  const VW lowWords = lookUp(ExpConstants::kPowers.low, index), highWords = lookUp(ExpConstants::kPowers.high, index);
  const VW ofLow = hn::OddEven(hn::BitCast(dw, hn::ShiftLeft<32>(hn::BitCast(du, highWords))), lowWords);
  const VW ofHigh = hn::OddEven(highWords, hn::BitCast(dw, hn::ShiftRight<32>(hn::BitCast(du, lowWords))));
  return {hn::BitCast(d, hn::Add(hn::BitCast(du, ofLow), hn::ShiftLeft<47>(k))),
          hn::BitCast(d, hn::Add(hn::BitCast(du, ofHigh), hn::ShiftLeft<47>(l)))};
}

HWY_INLINE VD expOfFraction(VD r) {
  const Doubles d;
  const auto constant = [&d](double value) HWY_ATTR { return hn::Set(d, value); };
  const VD high = hn::MulAdd(constant(ExpConstants::kPoly[0]), r, constant(ExpConstants::kPoly[1]));
  const VD low = hn::MulAdd(constant(ExpConstants::kPoly[2]), r, constant(1.0));
  return hn::MulAdd(high, hn::Mul(r, r), low);
}

// For floats within [-80, 80].
HWY_INLINE V expOf(V v) {
  const Doubles d;
  const VD perLn2 = hn::Set(d, ExpConstants::kStepsPerLn2), shift = hn::Set(d, ExpConstants::kShift);
  const Widened x = widen(v);
  const Widened shifted = {hn::MulAdd(x.low, perLn2, shift), hn::MulAdd(x.high, perLn2, shift)};
  const Widened power = powersOfSteps(shifted.low, shifted.high);
  const VD low = expOfFraction(fractionOfStep(x.low, hn::Sub(shifted.low, shift)));
  const VD high = expOfFraction(fractionOfStep(x.high, hn::Sub(shifted.high, shift)));
  return narrow(hn::Mul(low, power.low), hn::Mul(high, power.high));
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro::hdr
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
