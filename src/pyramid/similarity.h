#ifndef VESKARO_PYRAMID_SIMILARITY_H
#define VESKARO_PYRAMID_SIMILARITY_H

#include <cmath>

#include "params/settings.h"
#include "platform/ieee.h"

namespace veskaro {

// L1 distance of two colours from their channel differences: summed in double, green and blue first, rounded once.
inline float colourDistance(float dR, float dG, float dB) {
  const double sum = std::fabs(static_cast<double>(dG)) + std::fabs(static_cast<double>(dB));
  return static_cast<float>(sum + std::fabs(static_cast<double>(dR)));
}

inline float pixelDistance(const float* a, const float* b) {
  return colourDistance(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// 1 up to the threshold, falling linearly to 0 over the rolloff.
VESKARO_MAY_DIVIDE_BY_ZERO inline float similarityOf(float distance, const params::ReconstructSettings& s) {
  if (s.threshold >= distance) return 1.0f;
  if (distance > s.rolloff + s.threshold) return 0.0f;
  return (s.threshold - distance) / s.rolloff + 1.0f;
}

}  // namespace veskaro

#endif  // VESKARO_PYRAMID_SIMILARITY_H
