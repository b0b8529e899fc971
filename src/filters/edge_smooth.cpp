// Measures of how smooth the edges through a pixel are. The filters do not use them; hosts may.
#include <cstddef>

#include "VeskaroNRLib.h"
#include "pyramid/similarity.h"

namespace veskaro {
namespace {

// Two paths of three pixels on opposite sides of a centre.
struct OpposingPaths {
  const float *a, *b, *c;
  const float *d, *e, *f;
};

float compareOpposingPaths(const OpposingPaths& p, float noiseSize) {
  constexpr float kAnchor = 150.0f;
  constexpr float kOneOverAnchor = 0.006666667f;
  const float along =
      ((pixelDistance(p.b, p.c) + pixelDistance(p.a, p.b)) + pixelDistance(p.d, p.e)) + pixelDistance(p.e, p.f);
  const float excess = pixelDistance(p.b, p.e) - ((noiseSize + kAnchor) * kOneOverAnchor) * along;
  return excess > 0.0f ? excess : 0.0f;
}

}  // namespace
}  // namespace veskaro

extern "C" {

float edgeSmoothCompareOpposingPoints(int positA, int positB, int positC, int positD, int positE, int positF,
                                      float noiseSize, float* img) {
  return veskaro::compareOpposingPaths(
      {img + positA, img + positB, img + positC, img + positD, img + positE, img + positF}, noiseSize);
}

float edgeSmoothInverseSimSum(int spp, int row, float* img, float /*edgeDthreshold*/, int posit, float noiseSize) {
  const std::ptrdiff_t s = spp;
  const std::ptrdiff_t r = row;
  const float* p = img + posit;
  const veskaro::OpposingPaths directions[4] = {
      {p - s, p - s - r, p - r, p + s, p + s + r, p + r},
      {p - s - r, p - r, p + s - r, p - s + r, p + r, p + s + r},
      {p - r, p + s - r, p + s, p + r, p - s + r, p - s},
      {p + s - r, p + s, p + s + r, p - s - r, p - s, p - s + r},
  };
  float sum = veskaro::compareOpposingPaths(directions[0], noiseSize);
  for (int i = 1; i < 4; ++i) sum += veskaro::compareOpposingPaths(directions[i], noiseSize);
  return sum;
}

}  // extern "C"
