#ifndef VESKARO_FILTERS_LEVEL_FILTER_H
#define VESKARO_FILTERS_LEVEL_FILTER_H

#include "filters/level_buffers.h"
#include "params/settings.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"

namespace veskaro::filters {

// Noise reduction, then sharpening, of the rectangle of a level of the given height, in place, on the calling thread or
// on workers. The other buffers receive what their names say. Returns the end row of the last sharpening pass.
int filterLevel(const pixels::LevelLayout& layout, int height, const pixels::Rectangle& area, int workers,
                const LevelBuffers& b, const params::NoiseSettings& noise, const params::SharpenSettings& sharpening);

namespace plain {
// In plain code, which takes no memory beside the buffers.
void filterLevel(const pixels::LevelLayout& layout, int height, const pixels::Rectangle& area, const LevelBuffers& b,
                 const params::NoiseSettings& noise, const params::SharpenSettings& sharpening);
}  // namespace plain

// A worker's view of the level: it begins offset floats into every buffer, a whole number of rows down, where the
// rectangle keeps the distance from the top that it has in the level.
struct Band {
  std::ptrdiff_t offset;
  pixels::Rectangle area;
};

Band bandOf(const pixels::LevelLayout& layout, const pixels::Rectangle& area, int workers, int index);

}  // namespace veskaro::filters

#endif  // VESKARO_FILTERS_LEVEL_FILTER_H
