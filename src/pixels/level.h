// The levels of a pyramid: float images on the 8-bit scale, pixels interleaved.
#ifndef VESKARO_PIXELS_LEVEL_H
#define VESKARO_PIXELS_LEVEL_H

#include <cstddef>

namespace veskaro::pixels {

constexpr int kChannels = 3;  // red, green, blue

// Size of the next coarser level.
constexpr int coarseSize(int fine) {
  return fine / 2 + fine % 2;
}

// Samples of a w x h level.
constexpr std::ptrdiff_t levelSamples(int w, int h) {
  return std::ptrdiff_t{w} * h * kChannels;
}

// Where the pixels of a host's level lie: pixel (x, y) begins at float (y * width + x) * pixelFloats with its channels,
// and what follows them up to the next pixel is the host's.
struct LevelLayout {
  int width;
  int pixelFloats = kChannels;  // at least kChannels

  bool isPacked() const { return pixelFloats == kChannels; }
  std::ptrdiff_t rowFloats() const { return std::ptrdiff_t{width} * pixelFloats; }
  std::ptrdiff_t at(int x, int y) const { return y * rowFloats() + std::ptrdiff_t{x} * pixelFloats; }
};

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_LEVEL_H
