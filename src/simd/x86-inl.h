// Per-target: operations that some x86 processors have an instruction for and Highway has not, each with the form for
// all others beside it. Both give the same bits.
#if defined(VESKARO_SIMD_X86_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_X86_INL_H
#undef VESKARO_SIMD_X86_INL_H
#else
#define VESKARO_SIMD_X86_INL_H
#endif

#include <cstdint>

#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::simd::HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// 512-bit vectors, twice the registers, and stores that are slow beside them: what can be formed again where it is
// needed is not worth keeping.
#if HWY_TARGET <= HWY_AVX3
#define VESKARO_HAS_AVX512 1
#else
#define VESKARO_HAS_AVX512 0
#endif
constexpr bool kHasSlowStores = VESKARO_HAS_AVX512;

using VectorBytes = hn::Rebind<std::uint8_t, Floats>;

// The value, or the limit with its sign, whichever is smaller in magnitude. The limit is not negative.
HWY_INLINE V limitMagnitude(V value, V limit) {
#if VESKARO_HAS_AVX512
  constexpr int kSmallerMagnitudeSignOfFirst = 2;
  return V{_mm512_range_ps(value.raw, limit.raw, kSmallerMagnitudeSignOfFirst)};
#else
  return hn::Min(hn::Max(value, hn::Neg(limit)), limit);
#endif
}

// Toward zero. What is below all ints becomes the smallest int, which is what processors do by themselves; what is
// above them or no number becomes what each makes of it.
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
#if VESKARO_HAS_AVX512
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(v.raw));
#else
  const Words d;
  hn::StoreU(hn::U8FromU32(hn::And(hn::BitCast(d, v), hn::Set(d, 0xff))), VectorBytes(), to);
#endif
}

// Bits 16 to 31 of the lanes of two vectors, shifted right and cut to bytes.
template <int kShift>
HWY_INLINE void storeUpperBytes(VI first, VI second, unsigned char* to) {
  const hn::Repartition<std::uint16_t, Floats> halves;
  const auto upper =
      hn::ShiftRight<kShift>(hn::ConcatOdd(halves, hn::BitCast(halves, second), hn::BitCast(halves, first)));
#if VESKARO_HAS_AVX512
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi16_epi8(upper.raw));
#else
  const hn::Rebind<std::uint8_t, decltype(halves)> bytes;
  hn::StoreU(hn::TruncateTo(bytes, upper), bytes, to);
#endif
}

// Stores the chosen lanes one behind the other and returns how many. There is to be room for a whole vector.
HWY_INLINE int storeChosen(VI v, hn::Mask<Ints> chosen, std::int32_t* to) {
  const Ints d;
#if VESKARO_HAS_AVX512
  hn::StoreU(hn::Compress(v, chosen), d, to);
  return static_cast<int>(hn::CountTrue(d, chosen));
#else
  // Without an instruction for it, and with few lanes chosen, one after the other is faster.
  std::uint8_t mask = 0;
  hn::StoreMaskBits(d, chosen, &mask);
  if (HWY_LIKELY(mask == 0)) return 0;
  alignas(32) std::int32_t lane[HWY_LANES(float)];
  hn::Store(v, d, lane);
  int count = 0;
  for (unsigned left = mask; left != 0; left &= left - 1) {
    to[count++] = lane[hwy::Num0BitsBelowLS1Bit_Nonzero32(left)];
  }
  return count;
#endif
}

// Entries of a table of words whose size is a power of two, by the low bits of index.
template <int kSize>
HWY_INLINE VW lookUp(const std::uint32_t (&table)[kSize], VW index) {
  const Words d;
  constexpr int kLanes = static_cast<int>(HWY_LANES(float));
#if VESKARO_HAS_AVX512
  if constexpr (kSize == 2 * kLanes) {
    return VW{_mm512_permutex2var_epi32(hn::Load(d, table).raw, index.raw, hn::Load(d, table + kLanes).raw)};
  }
#endif
  if constexpr (kLanes >= 8) {
    const auto lane = hn::IndicesFromVec(d, hn::And(index, hn::Set(d, kLanes - 1)));
    VW found[kSize / kLanes];
    for (int part = 0; part < kSize / kLanes; ++part) {
      found[part] = hn::TableLookupLanes(hn::Load(d, table + part * kLanes), lane);
    }
    for (int step = kLanes; step < kSize; step *= 2) {
      const auto upper = hn::Ne(hn::And(index, hn::Set(d, static_cast<std::uint32_t>(step))), hn::Zero(d));
      for (int part = 0; part < kSize / (2 * step); ++part) {
        found[part] = hn::IfThenElse(upper, found[2 * part + 1], found[2 * part]);
      }
    }
    return found[0];
  } else {
    alignas(16) std::uint32_t lane[kLanes];
    hn::Store(hn::And(index, hn::Set(d, kSize - 1)), d, lane);
    for (std::uint32_t& entry : lane) entry = table[entry];
    return hn::Load(d, lane);
  }
}

// row[x - kDistance], row[x] and row[x + kDistance] of the lanes of a vector.
struct Taps {
  V before, centre, after;
};

// The taps of one vector of a row after the other, from its column 0 on. The row begins on a boundary of the widest
// vector and has room for a vector on both sides.
template <int kDistance>
class TapReader {
 public:
#if VESKARO_HAS_AVX512
  // Loads that straddle cache lines cost twice as much, and here all would.
  HWY_INLINE explicit TapReader(const float* row)
      : row_(row), previous_(hn::Load(Floats(), row - lanes())), current_(hn::Load(Floats(), row)) {}

  HWY_INLINE Taps at(int x) {
    const V before = previous_, centre = current_, after = hn::Load(Floats(), row_ + x + lanes());
    previous_ = centre;
    current_ = after;
    return {joined<lanes() - kDistance>(before, centre), centre, joined<kDistance>(centre, after)};
  }

 private:
  // The lanes of first from kFrom on, then those of second.
  template <int kFrom>
  static HWY_INLINE V joined(V first, V second) {
    if constexpr (kFrom == 0) return first;
    if constexpr (kFrom == lanes()) return second;
    return V{_mm512_castsi512_ps(
        _mm512_alignr_epi32(_mm512_castps_si512(second.raw), _mm512_castps_si512(first.raw), kFrom % lanes()))};
  }

  const float* row_;
  V previous_, current_;
#else
  HWY_INLINE explicit TapReader(const float* row) : row_(row) {}

  HWY_INLINE Taps at(int x) {
    const Floats d;
    return {hn::LoadU(d, row_ + x - kDistance), hn::Load(d, row_ + x), hn::LoadU(d, row_ + x + kDistance)};
  }

 private:
  const float* row_;
#endif
};

#undef VESKARO_HAS_AVX512
#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
