// Measures of how smooth the edges through a pixel are. The filters do not use them; hosts may.
#ifndef VESKARO_FILTERS_EDGE_SMOOTH_H
#define VESKARO_FILTERS_EDGE_SMOOTH_H

#include <cstddef>

#include "pixels/distance.h"

namespace veskaro::filters {

// Two paths of three pixels on opposite sides of a centre.
struct OpposingPaths {
  const float *a, *b, *c;
  const float *d, *e, *f;
};

// How much more the middles differ than the pixels along the paths.
inline float compareOpposingPaths(const OpposingPaths& p, float noiseSize) {
  constexpr float kAnchor = 150.0f;
  constexpr float kOneOverAnchor = 0.006666667f;
  const auto distance = [](const float* a, const float* b) { return pixels::colourDistance(a, b); };
  const float along = ((distance(p.b, p.c) + distance(p.a, p.b)) + distance(p.d, p.e)) + distance(p.e, p.f);
  const float excess = distance(p.b, p.e) - ((noiseSize + kAnchor) * kOneOverAnchor) * along;
  return excess > 0.0f ? excess : 0.0f;
}

// The sum over the four directions through pixel p of an image with s floats a pixel and r floats a row.
inline float sumOverDirections(const float* p, std::ptrdiff_t s, std::ptrdiff_t r, float noiseSize) {
  const OpposingPaths directions[4] = {
      {p - s, p - s - r, p - r, p + s, p + s + r, p + r},
      {p - s - r, p - r, p + s - r, p - s + r, p + r, p + s + r},
      {p - r, p + s - r, p + s, p + r, p - s + r, p - s},
      {p + s - r, p + s, p + s + r, p - s - r, p - s, p - s + r},
  };
  float sum = compareOpposingPaths(directions[0], noiseSize);
  for (int i = 1; i < 4; ++i) sum += compareOpposingPaths(directions[i], noiseSize);
  return sum;
}

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_EDGE_SMOOTH_H
