#ifndef VESKARO_FILTERS_NOISE_REDUCE_H
#define VESKARO_FILTERS_NOISE_REDUCE_H

#include "filters/rectangle.h"
#include "params/settings.h"

namespace veskaro {

// What the noise filter records for each pixel, beside the result: the share of the neighbour average that the pixel
// took, and the similarity threshold and rolloff at its brightness.
enum NoiseRecord { kMixFraction = 0, kThreshold = 1, kRolloff = 2 };

// Noise-reduces the rectangle of a level of the given width. comparison is the level as Y, B - Y, R - Y; records
// receives three floats a pixel; dest holds a copy of level on entry.
void reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings);

namespace plain {
void reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings);
}  // namespace plain

}  // namespace veskaro

#endif  // VESKARO_FILTERS_NOISE_REDUCE_H
