// The five-level decomposition that both stages of denoise1 use: each level smooths the one before with taps twice as
// far apart, and what a level takes away (its detail) is shrunk by a soft threshold before it is put back.
#ifndef VESKARO_HDR_DETAIL_DETAIL_LEVELS_H
#define VESKARO_HDR_DETAIL_DETAIL_LEVELS_H

#include <algorithm>

#include "hdr/rgbe/picture_memory.h"
#include "platform/heap_array.h"

namespace veskaro::hdr {

constexpr int kDetailLevels = 5;

constexpr int levelSpacing(int level) {
  return 1 << level;
}

// The threshold of a level's details in units of the stage's scale: 0.8002 * exp(2.6 - 2.6 sqrt(level + 1)).
float noiseCoefficient(int level);

// The order of the tests matters: a threshold may be negative, and then widens every detail.
inline float softThreshold(float detail, float threshold) {
  if (-threshold > detail) return detail + threshold;
  if (detail > threshold) return detail - threshold;
  return 0.0f;
}

struct LevelPlanes {
  PictureSize size;
  PlaneSample* base;       // the plane to shrink; receives the result
  PlaneSample* levels[2];  // the smoothed images of two levels, by turns
  float* line;             // max(width, height) floats
};

// to = from smoothed along rows, then along columns, with taps spacing apart. from and to may be the same.
void smoothPlane(const LevelPlanes& planes, const PlaneSample* from, PlaneSample* to, int spacing);

// base = smoothed image of the last level + the shrunk details of all levels. curveOfLevel(level) gives a function from
// the smoothed value at a pixel to the threshold of its detail.
template <class CurveOfLevel>
void shrinkDetails(const LevelPlanes& planes, CurveOfLevel&& curveOfLevel) {
  const std::size_t pixels = planes.size.pixels();
  PlaneSample* const base = planes.base;
  PlaneSample* finer = base;
  for (int level = 0; level < kDetailLevels; ++level) {
    PlaneSample* const smooth = planes.levels[level % 2];
    smoothPlane(planes, finer, smooth, levelSpacing(level));
    const auto thresholdAt = curveOfLevel(level);
    for (std::size_t k = 0; k < pixels; ++k) {
      const float detail = softThreshold(finer[k] - smooth[k], thresholdAt(smooth[k]));
      base[k] = level == 0 ? detail : base[k] + detail;
    }
    finer = smooth;
  }
  for (std::size_t k = 0; k < pixels; ++k) base[k] = base[k] + finer[k];
}

// Runs a stage, which needs a line of its picture's longer side. False when there is no memory for it.
template <class Stage, class Job>
bool runWithLine(const Job& job) {
  platform::HeapArray<float> line(static_cast<std::size_t>(std::max(job.in.size.width, job.in.size.height)),
                                  platform::Fill::kNothing);
  if (!line) return false;
  Stage(job).run(line.data());
  return true;
}

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_DETAIL_DETAIL_LEVELS_H
