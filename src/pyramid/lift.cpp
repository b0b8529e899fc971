#include "pyramid/lift.h"

#include "pixels/level.h"

namespace veskaro::pyramid {

using pixels::kChannels;

void lift(int wFine, int wCoarse, int hCoarse, const float* fine, float* coarse) {
  for (int j = 0; j < hCoarse; ++j) {
    const float* from = fine + pixels::levelSamples(wFine, 2 * j);
    for (int i = 0; i < wCoarse; ++i, from += 2 * kChannels, coarse += kChannels) {
      for (int k = 0; k < kChannels; ++k) coarse[k] = from[k];
    }
  }
}

}  // namespace veskaro::pyramid
