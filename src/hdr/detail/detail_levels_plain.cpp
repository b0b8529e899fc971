#include <cmath>

#include "hdr/detail/detail_levels.h"
#include "hdr/detail/smooth_line.h"

namespace veskaro::hdr {

namespace {

// Smooths one line of a plane and stores the means, with the same step on both sides.
void smoothLineOfPlane(const PlaneSample* from, PlaneSample* to, std::ptrdiff_t step, int size, int spacing,
                       float* line) {
  smoothLine(line, from, step, size, spacing);
  for (int i = 0; i < size; ++i) to[i * step] = 0.25f * line[i];
}

}  // namespace

float noiseCoefficient(int level) {
  const double factor = level == 0 ? 1.0 : std::exp(2.6 - 2.6 * std::sqrt(level + 1.0));
  return static_cast<float>(0.8002 * factor);
}

void smoothPlane(const LevelPlanes& planes, const PlaneSample* from, PlaneSample* to, int spacing) {
  const std::ptrdiff_t width = planes.size.width;
  const int height = planes.size.height;
  for (std::ptrdiff_t j = 0; j < height; ++j) {
    smoothLineOfPlane(from + j * width, to + j * width, 1, planes.size.width, spacing, planes.line);
  }
  for (std::ptrdiff_t i = 0; i < width; ++i) {
    smoothLineOfPlane(to + i, to + i, width, height, spacing, planes.line);
  }
}

}  // namespace veskaro::hdr
