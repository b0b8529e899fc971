// Per-target: the two forms of a level, and rows of pixels out of them and back.
#if defined(VESKARO_PIXELS_LEVEL_IMAGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_PIXELS_LEVEL_IMAGE_INL_H
#undef VESKARO_PIXELS_LEVEL_IMAGE_INL_H
#else
#define VESKARO_PIXELS_LEVEL_IMAGE_INL_H
#endif

#include <cstring>

#include "simd/planar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::pixels::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// A level of interleaved pixels, the host's form.
struct InterleavedImage {
  float* samples;
  std::ptrdiff_t rowSamples;

  float* at(int x, int y) const { return samples + y * rowSamples + std::ptrdiff_t{3} * x; }
  void load(int x, int y, int pixels, const simd::Rows& to) const {
    deinterleaveRow(reinterpret_cast<const unsigned char*>(at(x, y)), pixels, to);
  }
  void store(const simd::Rows& from, int x, int y, int pixels) const {
    interleaveRow(from, pixels, reinterpret_cast<unsigned char*>(at(x, y)));
  }
};

// A level of three planes, the form inside a tile. Rows have room for a vector behind their last pixel.
struct PlanarImage {
  float* plane[3];
  std::ptrdiff_t pitch;

  simd::Rows row(int y) const { return {{plane[0] + y * pitch, plane[1] + y * pitch, plane[2] + y * pitch}}; }
  void load(int x, int y, int pixels, const simd::Rows& to) const { copy(row(y) + x, to, pixels); }
  void store(const simd::Rows& from, int x, int y, int pixels) const { copy(from, row(y) + x, pixels); }

  static void copy(const simd::Rows& from, const simd::Rows& to, int pixels) {
    for (int k = 0; k < 3; ++k)
      std::memcpy(to.plane[k], from.plane[k], sizeof(float) * static_cast<std::size_t>(pixels));
  }
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::pixels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
