// Per-target: rows of interleaved pixels to planar rows and back, exactly the wanted pixels and nothing beside them.
#if defined(VESKARO_SIMD_PLANAR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_PLANAR_INL_H
#undef VESKARO_SIMD_PLANAR_INL_H
#else
#define VESKARO_SIMD_PLANAR_INL_H
#endif

#include <cstdint>
#include <cstring>

#include "simd/rows.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::simd::HWY_NAMESPACE {
#if VESKARO_HAS_VECTORS

// Pixels are (de)interleaved in whole vectors; the last, partial one goes through a block of its own. Hosts' samples
// may lie at any address, so memory is read and written as bytes.
template <typename T>
using BlockTag = hn::ScalableTag<T>;

template <typename T>
constexpr int blockPixels() {
  return static_cast<int>(HWY_LANES(T));
}

template <typename T>
HWY_INLINE void deinterleaveBlock(const unsigned char* from, const RowsOf<T>& to, int x) {
  constexpr int kPixels = blockPixels<T>();
  const BlockTag<T> d;
  HWY_ALIGN T block[3 * kPixels];
  const hn::ScalableTag<std::uint8_t> bytes;
  for (int k = 0; k < 3; ++k) {
    const auto part = hn::BitCast(d, hn::LoadU(bytes, from + k * sizeof(T) * kPixels));
    hn::Store(part, d, block + k * kPixels);
  }
  hn::Vec<BlockTag<T>> a, b, c;
  hn::LoadInterleaved3(d, block, a, b, c);
  hn::StoreU(a, d, to.plane[0] + x);
  hn::StoreU(b, d, to.plane[1] + x);
  hn::StoreU(c, d, to.plane[2] + x);
}

template <typename T>
HWY_INLINE void interleaveBlock(const RowsOf<T>& from, int x, unsigned char* to) {
  constexpr int kPixels = blockPixels<T>();
  const BlockTag<T> d;
  HWY_ALIGN T block[3 * kPixels];
  hn::StoreInterleaved3(hn::LoadU(d, from.plane[0] + x), hn::LoadU(d, from.plane[1] + x),
                        hn::LoadU(d, from.plane[2] + x), d, block);
  const hn::ScalableTag<std::uint8_t> bytes;
  for (int k = 0; k < 3; ++k) {
    hn::StoreU(hn::BitCast(bytes, hn::Load(d, block + k * kPixels)), bytes, to + k * sizeof(T) * kPixels);
  }
}

// The planes have room for whole vectors.
template <typename T>
HWY_NOINLINE void deinterleaveRow(const unsigned char* from, int pixels, const RowsOf<T>& to) {
  constexpr std::size_t kPixelBytes = 3 * sizeof(T);
  int x = 0;
  for (; x + blockPixels<T>() <= pixels; x += blockPixels<T>()) {
    deinterleaveBlock(from + kPixelBytes * static_cast<std::size_t>(x), to, x);
  }
  if (x == pixels) return;
  unsigned char rest[kPixelBytes * blockPixels<T>()] = {};
  std::memcpy(rest, from + kPixelBytes * static_cast<std::size_t>(x),
              kPixelBytes * static_cast<std::size_t>(pixels - x));
  deinterleaveBlock(rest, to, x);
}

template <typename T>
HWY_NOINLINE void interleaveRow(const RowsOf<T>& from, int pixels, unsigned char* to) {
  constexpr std::size_t kPixelBytes = 3 * sizeof(T);
  int x = 0;
  for (; x + blockPixels<T>() <= pixels; x += blockPixels<T>()) {
    interleaveBlock(from, x, to + kPixelBytes * static_cast<std::size_t>(x));
  }
  if (x == pixels) return;
  unsigned char rest[kPixelBytes * blockPixels<T>()];
  interleaveBlock(from, x, rest);
  std::memcpy(to + kPixelBytes * static_cast<std::size_t>(x), rest, kPixelBytes * static_cast<std::size_t>(pixels - x));
}

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::simd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
