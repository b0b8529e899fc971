// What the noise filter does with one pixel's brightness and with one neighbour.
#ifndef VESKARO_FILTERS_NOISE_NEIGHBOUR_H
#define VESKARO_FILTERS_NOISE_NEIGHBOUR_H

#include "filters/neighbour_sum.h"
#include "pixels/colour.h"
#include "pixels/distance.h"

namespace veskaro::filters {

constexpr float kWhiteSum = 765.0f;    // R + G + B at white
constexpr float kCentreWeight = 1.0f;  // of a pixel beside its neighbours

// Factor of threshold and rolloff: bright pixels carry less noise than dark ones.
inline float noiseScaleAt(const pixels::Rgb& p, float highlightSlope) {
  const float sum = (p.g + p.b) + p.r;
  const float raised = sum > 0.0f ? sum : 0.0f;
  const float brightness = raised < kWhiteSum ? raised : kWhiteSum;
  return 1.0f + highlightSlope * brightness;
}

// How far a neighbour may lie from the centre: its weight is full up to the threshold, and beyond the cut it has none.
struct Tolerance {
  float threshold, inverseRolloff, cut;
};

inline Tolerance toleranceOf(float threshold, float rolloff) {
  return {threshold, rolloff > 0.0f ? 1.0f / rolloff : 0.0f, threshold + rolloff};
}

inline float similarityFactor(float distance, const Tolerance& t) {
  return distance <= t.threshold ? 1.0f : 1.0f + (t.threshold - distance) * t.inverseRolloff;
}

// A distance that is not a number counts.
inline void addNoiseNeighbour(float distance, const float* otherRgb, float neighbourWeight, const Tolerance& t,
                              float* sum, float* sumWeight) {
  if (distance > t.cut) return;
  addWeighted(otherRgb, neighbourWeight * similarityFactor(distance, t), sum, sumWeight);
}

// centre and other: Y, B - Y, R - Y.
inline void addNoiseNeighbour(const float* centre, const float* other, const float* otherRgb, float neighbourWeight,
                              const Tolerance& t, float* sum, float* sumWeight) {
  addNoiseNeighbour(pixels::comparisonDistance(centre, other), otherRgb, neighbourWeight, t, sum, sumWeight);
}

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_NOISE_NEIGHBOUR_H
