#ifndef VESKARO_PYRAMID_SIMILARITY_H
#define VESKARO_PYRAMID_SIMILARITY_H

#include "params/settings.h"
#include "platform/ieee.h"

namespace veskaro::pyramid {

constexpr float kMinimumSimilarity = 0.01f;  // of the neighbours of an even row

// 1 up to the threshold, falling linearly to 0 over the rolloff.
VESKARO_MAY_DIVIDE_BY_ZERO inline float similarityOf(float distance, const params::ReconstructSettings& s) {
  if (s.threshold >= distance) return 1.0f;
  if (distance > s.rolloff + s.threshold) return 0.0f;
  return (s.threshold - distance) / s.rolloff + 1.0f;
}

}  // namespace veskaro::pyramid

#endif  // VESKARO_PYRAMID_SIMILARITY_H
