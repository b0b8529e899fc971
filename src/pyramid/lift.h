#ifndef VESKARO_PYRAMID_LIFT_H
#define VESKARO_PYRAMID_LIFT_H

#include <cstddef>

namespace veskaro {

constexpr int kChannels = 3;  // samples per pixel of every level image

constexpr int coarseSize(int fine) {
  return fine / 2 + fine % 2;
}

// Samples of a w x h level.
constexpr std::ptrdiff_t levelSamples(int w, int h) {
  return std::ptrdiff_t{w} * h * kChannels;
}

// coarse = the pixels of fine at even rows and columns.
void lift(int wFine, int wCoarse, int hCoarse, const float* fine, float* coarse);

// out = minuend - subtrahend over count samples; out may be either of them.
void subtract(std::ptrdiff_t count, const float* minuend, const float* subtrahend, float* out);

}  // namespace veskaro

#endif  // VESKARO_PYRAMID_LIFT_H
