#ifndef VESKARO_FILTERS_LEVEL_FILTER_KERNEL_H
#define VESKARO_FILTERS_LEVEL_FILTER_KERNEL_H

#include <cstddef>

#include "filters/level_filter.h"
#include "params/settings.h"

namespace veskaro {
namespace vectors {

// The vector forms of the level filters: the same bytes as the plain ones. Each returns false, with nothing written,
// when the plain form has to do it: the processor has no vectors, or no scratch is to be had.

// Y, B - Y, R - Y of every pixel.
bool toComparisonImage(std::ptrdiff_t pixels, const float* level, float* comparison);

// Both filters; reduced holds a copy of the level on entry, the comparison image is not touched.
bool filterLevel(int width, const Rectangle& area, const LevelBuffers& buffers, const params::NoiseSettings& noise,
                 const params::SharpenSettings& sharpening);

bool reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings);

bool sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_FILTERS_LEVEL_FILTER_KERNEL_H
