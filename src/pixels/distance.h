// How far two pixels are apart, formed in double and rounded once.
#ifndef VESKARO_PIXELS_DISTANCE_H
#define VESKARO_PIXELS_DISTANCE_H

#include <cmath>

namespace veskaro::pixels {

// L1 distance of two colours from their channel differences, green and blue added first.
inline float colourDistance(float dR, float dG, float dB) {
  const double sum = std::fabs(static_cast<double>(dG)) + std::fabs(static_cast<double>(dB));
  return static_cast<float>(sum + std::fabs(static_cast<double>(dR)));
}

// Of two pixels R, G, B.
inline float colourDistance(const float* a, const float* b) {
  return colourDistance(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// Of two pixels Y, B - Y, R - Y: luma counts four times as much as a colour difference.
inline float comparisonDistance(const float* a, const float* b) {
  const double dY = std::fabs(static_cast<double>(a[0] - b[0]));
  const double dB = std::fabs(static_cast<double>(a[1] - b[1]));
  const double dR = std::fabs(static_cast<double>(a[2] - b[2]));
  return static_cast<float>(2.0 * dY + 0.5 * (dR + dB));
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_DISTANCE_H
