#ifndef VESKARO_FILTERS_LEVEL_FILTER_VECTORS_H
#define VESKARO_FILTERS_LEVEL_FILTER_VECTORS_H

#include <cstddef>

#include "filters/level_buffers.h"
#include "params/settings.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"
#include "simd/vector_result.h"

namespace veskaro::filters::vectors {

// The vector forms of the level filters: the same bytes as the plain ones. They take packed layouts only.

// Y, B - Y, R - Y of the first count pixels of the level.
simd::VectorResult toComparisonImage(const pixels::LevelLayout& layout, std::ptrdiff_t count, const LevelBuffers& b);

// Both filters; b.reduced holds a copy of the level on entry, b.comparison is not touched.
simd::VectorResult filterLevel(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                               const params::NoiseSettings& noise, const params::SharpenSettings& sharpening);

simd::VectorResult reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                               const params::NoiseSettings& settings);

simd::VectorResult sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                           const params::SharpenSettings& settings);

}  // namespace veskaro::filters::vectors

#endif  // VESKARO_FILTERS_LEVEL_FILTER_VECTORS_H
