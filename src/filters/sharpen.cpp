// Sharpening of one noise-reduced level: every pixel is pushed away from the mean of those neighbours that differ from
// it by about the local noise. Neighbours that equal it, or belong to another side of an edge, have no say.
#include "filters/sharpen.h"

#include "filters/level_filter_vectors.h"
#include "filters/neighbour_weights.h"
#include "filters/sharpen_neighbour.h"
#include "pixels/colour.h"
#include "platform/ieee.h"

namespace veskaro::filters {
namespace {

using pixels::Rgb;
using pixels::Ycc;

// The distances that count around a pixel; the ramps of every neighbour follow from them.
struct NoiseRange {
  float threshold, cut, perThreshold, perRolloff;
};

VESKARO_MAY_DIVIDE_BY_ZERO NoiseRange rangeOf(const float* noiseMap) {
  const float threshold = noiseMap[kRolloff];
  const float rolloff = kFallOfRise * threshold;
  return {threshold, threshold + rolloff, 1.0f / threshold, 1.0f / rolloff};
}

// Row by row of the window, each left to right.
NeighbourSum sumSharpeningNeighbours(const float* centre, const pixels::LevelLayout& layout, const NoiseRange& range) {
  NeighbourSum sum;
  for (int dy = -kReach; dy <= kReach; ++dy) {
    for (int dx = -kReach; dx <= kReach; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const float neighbourWeight = kNeighbourWeight[dy + kReach][dx + kReach];
      const WeightRamps ramps = {range.threshold, range.cut, neighbourWeight * range.perThreshold,
                                 sharpeningSlopeWeight(dx, dy) * range.perRolloff, neighbourWeight};
      addSharpeningNeighbour(centre, centre + layout.at(dx, dy), ramps, sum.rgb, &sum.weight);
    }
  }
  return sum;
}

// Pushes luma and colour differences away from the average.
Rgb pushAway(const Rgb& own, const NeighbourSum& sum, float mixFraction, const params::SharpenSettings& s) {
  const float inverseWeight = 1.0f / sum.weight;
  const Ycc average =
      pixels::toYcc({sum.rgb[0] * inverseWeight, sum.rgb[1] * inverseWeight, sum.rgb[2] * inverseWeight});
  const Ycc centre = pixels::toYcc(own);
  const float amount = mixFraction > 0.0f ? mixFraction : 0.0f;
  const float chromaMix = (sum.weight * s.chroma) * amount;
  const float push = (((centre.y - average.y) * sum.weight) * s.luma) * amount;
  return pixels::toRgb({centre.y + push, (centre.bMinusY - average.bMinusY) * chromaMix + centre.bMinusY,
                        (centre.rMinusY - average.rMinusY) * chromaMix + centre.rMinusY});
}

Rgb sharpenPixel(const float* centre, const float* noiseMap, const pixels::LevelLayout& layout,
                 const params::SharpenSettings& s) {
  const NeighbourSum sum = sumSharpeningNeighbours(centre, layout, rangeOf(noiseMap));
  const Rgb own = {centre[0], centre[1], centre[2]};
  return sum.weight == 0.0f ? own : pushAway(own, sum, noiseMap[kMixFraction], s);
}

}  // namespace

void plain::sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                    const params::SharpenSettings& settings) {
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      const std::ptrdiff_t at = layout.at(x, y);
      const Rgb sharpened = sharpenPixel(b.reduced + at, b.noiseMap + at, layout, settings);
      b.level[at] = sharpened.r;
      b.level[at + 1] = sharpened.g;
      b.level[at + 2] = sharpened.b;
    }
  }
}

void sharpen(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
             const params::SharpenSettings& settings) {
  if (vectors::sharpen(layout, area, b, settings) == simd::VectorResult::kDone) return;
  plain::sharpen(layout, area, b, settings);
}

}  // namespace veskaro::filters
