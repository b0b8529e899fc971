// Edge-preserving noise reduction of one level: a weighted mean over the 24 neighbours of a 5 x 5 window, each weighted
// by how much it resembles the centre (a sigma filter with a soft cut; Lee, 1983).
#include "filters/noise_reduce.h"

#include <cmath>
#include <cstddef>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/level_filter_kernel.h"
#include "filters/neighbour_weights.h"
#include "platform/fp_environment.h"
#include "platform/ieee.h"
#include "pyramid/lift.h"

namespace veskaro {
namespace {

constexpr float kCentreWeight = 1.0f;
constexpr float kWhiteSum = 765.0f;  // R + G + B at white

// How far a neighbour may lie from the centre.
struct Tolerance {
  float threshold;
  float rolloff;
};

// Bright pixels carry less noise than dark ones.
Tolerance toleranceAt(const float* rgb, float threshold, float rolloff, float highlightSlope) {
  const float sum = (rgb[1] + rgb[2]) + rgb[0];
  const float raised = sum > 0.0f ? sum : 0.0f;
  const float brightness = raised < kWhiteSum ? raised : kWhiteSum;
  const float m = 1.0f + highlightSlope * brightness;
  return {threshold * m, rolloff * m};
}

// Luma counts four times as much as a colour difference. Formed in double, rounded once.
float comparisonDistance(const float* centre, const float* other) {
  const double dY = std::fabs(static_cast<double>(centre[0] - other[0]));
  const double dB = std::fabs(static_cast<double>(centre[1] - other[1]));
  const double dR = std::fabs(static_cast<double>(centre[2] - other[2]));
  return static_cast<float>(2.0 * dY + 0.5 * (dR + dB));
}

// Weighted sum of the neighbours of one column of the window.
struct ColumnSum {
  float rgb[kChannels] = {0.0f, 0.0f, 0.0f};
  float weight = 0.0f;
};

void addNeighbour(const float* centre, const Tolerance& t, float inverseRolloff, const float* other,
                  const float* otherRgb, float coef, float* sum, float* sumWeight) {
  const float distance = comparisonDistance(centre, other);
  if (distance > t.threshold + t.rolloff) return;
  const float factor = distance <= t.threshold ? 1.0f : 1.0f + (t.threshold - distance) * inverseRolloff;
  const float weight = coef * factor;
  *sumWeight += weight;
  for (int k = 0; k < kChannels; ++k) sum[k] += otherRgb[k] * weight;
}

// The pixel's pointers into the images of a call, and the floats from row to row.
struct Pixel {
  const float* level;
  const float* comparison;
  float* record;
  float* dest;
  std::ptrdiff_t row;
};

void sumNeighbours(const Pixel& p, const Tolerance& t, ColumnSum (&columns)[5]) {
  const float inverseRolloff = t.rolloff > 0.0f ? 1.0f / t.rolloff : 0.0f;
  for (int dy = -kReach; dy <= kReach; ++dy) {
    for (int dx = -kReach; dx <= kReach; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const std::ptrdiff_t offset = dy * p.row + dx * kChannels;
      ColumnSum& column = columns[dx + kReach];
      addNeighbour(p.comparison, t, inverseRolloff, p.comparison + offset, p.level + offset,
                   kNeighbourWeight[dy + kReach][dx + kReach], column.rgb, &column.weight);
    }
  }
}

VESKARO_MAY_DIVIDE_BY_ZERO void reducePixel(const Pixel& p, const params::NoiseSettings& s) {
  const Tolerance t = toleranceAt(p.level, s.threshold, s.rolloff, s.highlightSlope);
  ColumnSum c[5];
  sumNeighbours(p, t, c);
  const float weightSum = (((c[0].weight + c[1].weight) + c[2].weight) + c[3].weight) + c[4].weight;
  p.record[kThreshold] = t.threshold;
  p.record[kRolloff] = t.rolloff;
  if (weightSum == 0.0f) {
    for (int k = 0; k < kChannels; ++k) p.dest[k] = p.level[k];
    p.record[kMixFraction] = 0.0f;
    return;
  }
  const float inverseWeight = 1.0f / weightSum;
  const float outerMix = s.amount * (1.0f - kCentreWeight / (weightSum + kCentreWeight));
  const float centreMix = 1.0f - outerMix;
  for (int k = 0; k < kChannels; ++k) {
    const float sum = (((c[0].rgb[k] + c[1].rgb[k]) + c[2].rgb[k]) + c[3].rgb[k]) + c[4].rgb[k];
    const float average = sum * inverseWeight;
    p.dest[k] = p.dest[k] * centreMix + average * outerMix;
  }
  p.record[kMixFraction] = outerMix;
}

}  // namespace

void plain::reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                        float* dest, const params::NoiseSettings& settings) {
  const std::ptrdiff_t row = levelSamples(width, 1);
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      const std::ptrdiff_t at = y * row + std::ptrdiff_t{x} * kChannels;
      reducePixel({level + at, comparison + at, records + at, dest + at, row}, settings);
    }
  }
}

void reduceNoise(int width, const Rectangle& area, const float* level, const float* comparison, float* records,
                 float* dest, const params::NoiseSettings& settings) {
  if (vectors::reduceNoise(width, area, level, comparison, records, dest, settings)) return;
  plain::reduceNoise(width, area, level, comparison, records, dest, settings);
}

}  // namespace veskaro

extern "C" {

int noiseReduce_orig(int rang, int wImage, int /*hImage*/, int* startCoord, int spp, int /*doDespeckle*/, float* img,
                     float* YCbCr_img, float* NRamounts, float* dest) {
  if (spp != veskaro::kChannels) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  const auto area = veskaro::Rectangle::fromCoordinates(startCoord);
  veskaro::reduceNoise(wImage, area, img, YCbCr_img, NRamounts, dest,
                       veskaro::params::noiseSettings(veskaro::api::tuningInForce(), rang));
  return area.endRow();
}

void NRgetSimilarity(float centerY, float centerBY, float centerRY, float simThreshold, float simRolloff,
                     float simInverseRolloff, float* cnv, float* finalWeight, int posit, float* img_Ybr, float* img_rgb,
                     float coef) {
  const float centre[3] = {centerY, centerBY, centerRY};
  veskaro::addNeighbour(centre, {simThreshold, simRolloff}, simInverseRolloff, img_Ybr + posit, img_rgb + posit, coef,
                        cnv, finalWeight);
}

void noiseTransferFunction(float r, float g, float b, float inThreshold, float inRolloff, float* newThreshold,
                           float* newRolloff) {
  const float rgb[3] = {r, g, b};
  const veskaro::Tolerance t =
      veskaro::toleranceAt(rgb, inThreshold, inRolloff, veskaro::params::highlightNoiseSlope(highnoiseLevelReduce));
  *newThreshold = t.threshold;
  *newRolloff = t.rolloff;
}

}  // extern "C"
