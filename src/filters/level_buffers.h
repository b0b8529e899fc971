#ifndef VESKARO_FILTERS_LEVEL_BUFFERS_H
#define VESKARO_FILTERS_LEVEL_BUFFERS_H

namespace veskaro::filters {

// The buffers of the level filters, all of one layout.
struct LevelBuffers {
  float* level;
  float* reduced;     // the noise-reduced level
  float* comparison;  // Y, B - Y, R - Y of the level as it came
  float* noiseMap;    // what the noise filter did to each pixel: a float for each NoiseMapChannel
};

// What the noise filter leaves for each pixel beside the result: the share of the neighbour average that the pixel
// took, and the similarity threshold and rolloff at its brightness.
enum NoiseMapChannel { kMixFraction = 0, kThreshold = 1, kRolloff = 2 };

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_LEVEL_BUFFERS_H
