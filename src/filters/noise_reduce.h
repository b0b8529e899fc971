#ifndef VESKARO_FILTERS_NOISE_REDUCE_H
#define VESKARO_FILTERS_NOISE_REDUCE_H

#include "filters/level_buffers.h"
#include "params/settings.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"

namespace veskaro::filters {

// Noise-reduces the rectangle of b.level: b.reduced holds a copy of the level on entry and the result on return.
// b.comparison is the level as Y, B - Y, R - Y; b.noiseMap receives its three floats for each pixel of the rectangle.
// Reads two pixels beyond the rectangle. Patches, for which it reads three, are for the plain form and whole tiles
// alone.
void reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                 const params::NoiseSettings& settings);

namespace plain {
void reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                 const params::NoiseSettings& settings);
}  // namespace plain

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_NOISE_REDUCE_H
