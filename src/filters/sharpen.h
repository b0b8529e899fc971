#ifndef VESKARO_FILTERS_SHARPEN_H
#define VESKARO_FILTERS_SHARPEN_H

#include "filters/level_buffers.h"
#include "params/settings.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"

namespace veskaro::filters {

// Sharpens the rectangle of b.reduced, a noise-reduced level, into b.level, by the noise map of the noise filter.
void sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
             const params::SharpenSettings& settings);

namespace plain {
void sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
             const params::SharpenSettings& settings);
}  // namespace plain

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_SHARPEN_H
