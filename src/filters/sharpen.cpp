// Sharpening of one noise-reduced level: every pixel is pushed away from the mean of those neighbours that differ from
// it by about the local noise. Neighbours that equal it, or belong to another side of an edge, have no say.
#include "filters/sharpen.h"

#include <cstddef>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/colour_difference.h"
#include "filters/level_filter_kernel.h"
#include "filters/neighbour_weights.h"
#include "filters/noise_reduce.h"
#include "platform/fp_environment.h"
#include "platform/ieee.h"
#include "pyramid/lift.h"
#include "pyramid/similarity.h"

namespace veskaro {
namespace {

// The band of distances that counts: weight rises up to threshold and falls over rolloff.
struct Band {
  float threshold;
  float rolloff;
};

void addNeighbour(const Band& band, const float* centre, const float* other, float coef, float risingSlope,
                  float fallingSlope, float* sum, float* sumWeight) {
  const float distance = pixelDistance(centre, other);
  float weight;
  if (distance <= band.threshold) {
    weight = risingSlope * distance;
  } else if (distance >= band.threshold + band.rolloff) {
    return;
  } else {
    weight = (band.threshold - distance) * fallingSlope + coef;
  }
  *sumWeight += weight;
  for (int k = 0; k < kChannels; ++k) sum[k] += other[k] * weight;
}

struct NeighbourSum {
  float rgb[kChannels] = {0.0f, 0.0f, 0.0f};
  float weight = 0.0f;
};

VESKARO_MAY_DIVIDE_BY_ZERO NeighbourSum sumNeighbours(const float* centre, std::ptrdiff_t row, const Band& band) {
  const float perThreshold = 1.0f / band.threshold;
  const float perRolloff = 1.0f / band.rolloff;
  NeighbourSum sum;
  for (int dy = -kReach; dy <= kReach; ++dy) {
    for (int dx = -kReach; dx <= kReach; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const float coef = kNeighbourWeight[dy + kReach][dx + kReach];
      addNeighbour(band, centre, centre + dy * row + dx * kChannels, coef, coef * perThreshold,
                   sharpeningSlopeWeight(dx, dy) * perRolloff, sum.rgb, &sum.weight);
    }
  }
  return sum;
}

Rgb sharpenPixel(const float* centre, std::ptrdiff_t row, const float* record, const params::SharpenSettings& s) {
  const Band band = {record[kRolloff], 0.25f * record[kRolloff]};
  const NeighbourSum sum = sumNeighbours(centre, row, band);
  const Rgb rgb = {centre[0], centre[1], centre[2]};
  if (sum.weight == 0.0f) return rgb;
  const float amount = record[kMixFraction] > 0.0f ? record[kMixFraction] : 0.0f;
  const float inverseWeight = 1.0f / sum.weight;
  const Ycc average = toYcc({sum.rgb[0] * inverseWeight, sum.rgb[1] * inverseWeight, sum.rgb[2] * inverseWeight});
  const Ycc own = toYcc(rgb);
  const float chromaMix = (sum.weight * s.chroma) * amount;
  return toRgb({own.y + (((own.y - average.y) * sum.weight) * s.luma) * amount,
                (own.bMinusY - average.bMinusY) * chromaMix + own.bMinusY,
                (own.rMinusY - average.rMinusY) * chromaMix + own.rMinusY});
}

}  // namespace

void plain::sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
                    const params::SharpenSettings& settings) {
  const std::ptrdiff_t row = levelSamples(width, 1);
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      const std::ptrdiff_t at = y * row + std::ptrdiff_t{x} * kChannels;
      const Rgb sharpened = sharpenPixel(reduced + at, row, records + at, settings);
      dest[at] = sharpened.r;
      dest[at + 1] = sharpened.g;
      dest[at + 2] = sharpened.b;
    }
  }
}

void sharpen(int width, const Rectangle& area, const float* reduced, const float* records, float* dest,
             const params::SharpenSettings& settings) {
  if (vectors::sharpen(width, area, reduced, records, dest, settings)) return;
  plain::sharpen(width, area, reduced, records, dest, settings);
}

}  // namespace veskaro

extern "C" {

int sharpen_orig(int rang, int wImage, int /*hImage*/, int* startCoord, int spp, float* img, float* NRamounts,
                 float* dest) {
  if (spp != veskaro::kChannels) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  const auto area = veskaro::Rectangle::fromCoordinates(startCoord);
  veskaro::sharpen(wImage, area, img, NRamounts, dest,
                   veskaro::params::sharpenSettings(veskaro::api::tuningInForce(), rang));
  return area.endRow();
}

void sharpSimilarityFromSimPixel(float simThreshold, float simRolloff, float /*simInverseThreshold*/,
                                 float /*simInverseRolloff*/, float* convolution, float* finalWeight, int positCenter,
                                 int positCur, float* img, float coef, float coefSimInverseThreshold,
                                 float coefSimInverseRolloff, float coefFULL_SIMILARITY) {
  static_cast<void>(coef);
  veskaro::addNeighbour({simThreshold, simRolloff}, img + positCenter, img + positCur, coefFULL_SIMILARITY,
                        coefSimInverseThreshold, coefSimInverseRolloff, convolution, finalWeight);
}

}  // extern "C"
