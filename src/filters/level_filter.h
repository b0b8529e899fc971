#ifndef VESKARO_FILTERS_LEVEL_FILTER_H
#define VESKARO_FILTERS_LEVEL_FILTER_H

#include "filters/rectangle.h"

namespace veskaro {

// The buffers of one level filter call, each w x h x 3 floats. The level is filtered in place.
struct LevelBuffers {
  float* level;
  float* reduced;     // receives the noise-reduced level
  float* comparison;  // receives Y, B - Y, R - Y of the level as it came
  float* records;     // receives the noise filter's records inside the rectangle
};

constexpr int kMaxWorkers = 32;

// Noise reduction, then sharpening, of the rectangle of a level (0 finest to 3), on the calling thread or on workers.
// Returns the end row of the last sharpening pass.
int filterLevel(int level, int w, int h, const Rectangle& area, int workers, const LevelBuffers& buffers);

}  // namespace veskaro

#endif  // VESKARO_FILTERS_LEVEL_FILTER_H
