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
  static constexpr float kCoefficients[kDetailLevels] = {0.800199986f, 0.272572994f, 0.119286671f, 0.0594337173f,
                                                         0.0321716294f};
  return kCoefficients[level];
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
