// What the sharpening filter does with one neighbour.
#ifndef VESKARO_FILTERS_SHARPEN_NEIGHBOUR_H
#define VESKARO_FILTERS_SHARPEN_NEIGHBOUR_H

#include "filters/neighbour_sum.h"
#include "pixels/distance.h"

namespace veskaro::filters {

// Distance over which a weight falls, in units of the one over which it rises.
constexpr float kFallOfRise = 0.25f;

// The weight of a neighbour by its distance: it rises from 0 to the peak at the threshold and falls from there; from
// the cut on there is none.
struct WeightRamps {
  float threshold, cut;
  float risingSlope, fallingSlope;
  float peak;
};

// A threshold or a cut that is not a number excludes no distance.
inline void addSharpeningNeighbour(const float* centre, const float* other, const WeightRamps& w, float* sum,
                                   float* sumWeight) {
  const float distance = pixels::colourDistance(centre, other);
  float weight;
  if (distance <= w.threshold) {
    weight = w.risingSlope * distance;
  } else if (distance >= w.cut) {
    return;
  } else {
    weight = (w.threshold - distance) * w.fallingSlope + w.peak;
  }
  addWeighted(other, weight, sum, sumWeight);
}

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_SHARPEN_NEIGHBOUR_H
