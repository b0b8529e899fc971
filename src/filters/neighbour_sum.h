#ifndef VESKARO_FILTERS_NEIGHBOUR_SUM_H
#define VESKARO_FILTERS_NEIGHBOUR_SUM_H

#include "pixels/level.h"

namespace veskaro::filters {

// Sum of neighbours' colours times their weights, and of the weights.
struct NeighbourSum {
  float rgb[pixels::kChannels] = {0.0f, 0.0f, 0.0f};
  float weight = 0.0f;
};

inline NeighbourSum addSums(const NeighbourSum& a, const NeighbourSum& b) {
  return {{a.rgb[0] + b.rgb[0], a.rgb[1] + b.rgb[1], a.rgb[2] + b.rgb[2]}, a.weight + b.weight};
}

inline void addWeighted(const float* rgb, float weight, float* sum, float* sumWeight) {
  *sumWeight += weight;
  for (int k = 0; k < pixels::kChannels; ++k) sum[k] += rgb[k] * weight;
}

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_NEIGHBOUR_SUM_H
