// Edge-preserving noise reduction of one level: a weighted mean over the 24 neighbours of a 5 x 5 window, each weighted
// by how much it resembles the centre (a sigma filter with a soft cut; Lee, 1983).
#include "filters/noise_reduce.h"

#include "filters/level_filter_vectors.h"
#include "filters/neighbour_weights.h"
#include "filters/noise_neighbour.h"
#include "platform/ieee.h"

namespace veskaro::filters {
namespace {

using pixels::kChannels;

// The pixel's pointers into the buffers of a call, and the floats from row to row and from pixel to pixel.
struct Pixel {
  const float* level;
  const float* comparison;
  float* noiseMap;
  float* reduced;
  std::ptrdiff_t rowFloats;
  int pixelFloats;
};

// Of the pixel and the one an offset away; with patches column by column, each top to bottom.
float distanceTo(const Pixel& p, std::ptrdiff_t offset, float patch) {
  const float own = pixels::comparisonDistance(p.comparison, p.comparison + offset);
  if (!(patch > 0.0f)) return own;
  float columns[2 * kPatchReach + 1];
  for (int x = -kPatchReach; x <= kPatchReach; ++x) {
    const auto at = [&](int y) {
      const float* const pixel = p.comparison + y * p.rowFloats + std::ptrdiff_t{x} * p.pixelFloats;
      return pixels::comparisonDistance(pixel, pixel + offset);
    };
    columns[x + kPatchReach] = (at(-1) + at(0)) + at(1);
  }
  const PatchShares shares(patch);
  return own * shares.own + ((columns[0] + columns[1]) + columns[2]) * shares.ofSum;
}

// Column by column of the window, each top to bottom.
NeighbourSum sumNoiseNeighbours(const Pixel& p, const Tolerance& t, float patch) {
  NeighbourSum columns[kSpan];
  for (int dy = -kReach; dy <= kReach; ++dy) {
    for (int dx = -kReach; dx <= kReach; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const std::ptrdiff_t offset = dy * p.rowFloats + std::ptrdiff_t{dx} * p.pixelFloats;
      NeighbourSum& column = columns[dx + kReach];
      addNoiseNeighbour(distanceTo(p, offset, patch), p.level + offset, kNeighbourWeight[dy + kReach][dx + kReach], t,
                        column.rgb, &column.weight);
    }
  }
  NeighbourSum sum = columns[0];
  for (int dx = 1; dx < kSpan; ++dx) sum = addSums(sum, columns[dx]);
  return sum;
}

// The pixel moved towards the average of its neighbours; where none is similar it stays what it is.
VESKARO_MAY_DIVIDE_BY_ZERO void mixWithAverage(const Pixel& p, const NeighbourSum& sum,
                                               const params::NoiseSettings& s) {
  if (sum.weight == 0.0f) {
    for (int k = 0; k < kChannels; ++k) p.reduced[k] = p.level[k];
    p.noiseMap[kMixFraction] = 0.0f;
    return;
  }
  const float inverseWeight = 1.0f / sum.weight;
  const float outerMix = s.amount * (1.0f - kCentreWeight / (sum.weight + kCentreWeight));
  const float centreMix = 1.0f - outerMix;
  for (int k = 0; k < kChannels; ++k) {
    const float average = sum.rgb[k] * inverseWeight;
    p.reduced[k] = p.reduced[k] * centreMix + average * outerMix;
  }
  p.noiseMap[kMixFraction] = outerMix;
}

void reducePixel(const Pixel& p, const params::NoiseSettings& s) {
  const float scale = noiseScaleAt({p.level[0], p.level[1], p.level[2]}, s.highlightSlope);
  const float threshold = s.threshold * scale;
  const float rolloff = s.rolloff * scale;
  const NeighbourSum sum = sumNoiseNeighbours(p, toleranceOf(threshold, rolloff), s.patch);
  p.noiseMap[kThreshold] = threshold;
  p.noiseMap[kRolloff] = rolloff;
  mixWithAverage(p, sum, s);
}

}  // namespace

void plain::reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                        const params::NoiseSettings& settings) {
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      const std::ptrdiff_t at = layout.at(x, y);
      reducePixel(
          {b.level + at, b.comparison + at, b.noiseMap + at, b.reduced + at, layout.rowFloats(), layout.pixelFloats},
          settings);
    }
  }
}

void reduceNoise(const pixels::LevelLayout& layout, const pixels::Rectangle& area, const LevelBuffers& b,
                 const params::NoiseSettings& settings) {
  if (vectors::reduceNoise(layout, area, b, settings) == simd::VectorResult::kDone) return;
  plain::reduceNoise(layout, area, b, settings);
}

}  // namespace veskaro::filters
