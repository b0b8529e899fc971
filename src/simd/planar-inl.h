// Per-target: rows of interleaved pixels to planar rows and back, exactly the wanted pixels and nothing beside them.
#if defined(VESKARO_SIMD_PLANAR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SIMD_PLANAR_INL_H
#undef VESKARO_SIMD_PLANAR_INL_H
#else
#define VESKARO_SIMD_PLANAR_INL_H
#endif

#include <cstring>

#include "simd/rows.h"
#include "simd/vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
#if HWY_TARGET != HWY_SCALAR

// Whole blocks of this many pixels are (de)interleaved at once; the last, partial one goes through a block of its own.
template <typename T>
using BlockTag = hn::ScalableTag<T>;

template <typename T>
HWY_INLINE void deinterleaveBlock(const T* from, const RowsOf<T>& to, std::ptrdiff_t x) {
  const BlockTag<T> d;
  hn::Vec<BlockTag<T>> a, b, c;
  hn::LoadInterleaved3(d, from, a, b, c);
  hn::StoreU(a, d, to.plane[0] + x);
  hn::StoreU(b, d, to.plane[1] + x);
  hn::StoreU(c, d, to.plane[2] + x);
}

template <typename T>
HWY_INLINE void interleaveBlock(const RowsOf<T>& from, std::ptrdiff_t x, T* to) {
  const BlockTag<T> d;
  hn::StoreInterleaved3(hn::LoadU(d, from.plane[0] + x), hn::LoadU(d, from.plane[1] + x),
                        hn::LoadU(d, from.plane[2] + x), d, to);
}

// The planes have room for whole blocks; from may lie at any address.
template <typename T>
HWY_INLINE void deinterleaveRow(const unsigned char* from, int pixels, const RowsOf<T>& to) {
  constexpr int kBlock = static_cast<int>(HWY_LANES(T));
  T block[3 * kBlock];
  for (int x = 0; x < pixels; x += kBlock) {
    const int count = pixels - x < kBlock ? pixels - x : kBlock;
    if (count < kBlock) std::memset(block, 0, sizeof(block));
    std::memcpy(block, from + 3 * sizeof(T) * static_cast<std::size_t>(x),
                3 * sizeof(T) * static_cast<std::size_t>(count));
    deinterleaveBlock(block, to, x);
  }
}

template <typename T>
HWY_INLINE void interleaveRow(const RowsOf<T>& from, int pixels, unsigned char* to) {
  constexpr int kBlock = static_cast<int>(HWY_LANES(T));
  T block[3 * kBlock];
  for (int x = 0; x < pixels; x += kBlock) {
    const int count = pixels - x < kBlock ? pixels - x : kBlock;
    interleaveBlock(from, x, block);
    std::memcpy(to + 3 * sizeof(T) * static_cast<std::size_t>(x), block,
                3 * sizeof(T) * static_cast<std::size_t>(count));
  }
}

// A level of interleaved pixels, the host's form.
struct InterleavedImage {
  float* samples;
  std::ptrdiff_t rowSamples;

  float* at(int x, int y) const { return samples + y * rowSamples + std::ptrdiff_t{3} * x; }
  void load(int x, int y, int pixels, const Rows& to) const {
    deinterleaveRow(reinterpret_cast<const unsigned char*>(at(x, y)), pixels, to);
  }
  void store(const Rows& from, int x, int y, int pixels) const {
    interleaveRow(from, pixels, reinterpret_cast<unsigned char*>(at(x, y)));
  }
};

// A level of three planes, the form inside a tile. Rows have room for a vector behind their last pixel.
struct PlanarImage {
  float* plane[3];
  std::ptrdiff_t pitch;

  Rows row(int y) const { return {{plane[0] + y * pitch, plane[1] + y * pitch, plane[2] + y * pitch}}; }
  void load(int x, int y, int pixels, const Rows& to) const { copy(row(y) + x, to, pixels); }
  void store(const Rows& from, int x, int y, int pixels) const { copy(from, row(y) + x, pixels); }

  static void copy(const Rows& from, const Rows& to, int pixels) {
    for (int k = 0; k < 3; ++k)
      std::memcpy(to.plane[k], from.plane[k], sizeof(float) * static_cast<std::size_t>(pixels));
  }
};

#endif  // HWY_TARGET != HWY_SCALAR
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
