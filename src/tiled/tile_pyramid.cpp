// One tile through the four-level pyramid. Going down, every level is filtered before it is lifted, and what its
// prediction misses is stored. Going up, each level is predicted anew from its changed coarse neighbour, less the
// stored difference: changes of a coarse level reach the fine one along the same similarity weights, fine detail stays.
#include "tiled/tile_pyramid.h"

#include <cstddef>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/level_filter.h"
#include "filters/neighbour_weights.h"
#include "pixels/level.h"
#include "platform/fp_environment.h"
#include "pyramid/lift.h"
#include "pyramid/reconstruct.h"
#include "tiled/tile_geometry.h"

namespace veskaro {
namespace {

using filters::kReach;
using pixels::coarseSize;
using pixels::kChannels;
using pixels::levelSamples;
using pixels::Rectangle;

struct Level {
  int w, h;
  std::ptrdiff_t offset;  // floats from the start of a pyramid
  std::ptrdiff_t samples() const { return levelSamples(w, h); }
};

struct Levels {
  Level at[kCoarseLevels + 1];

  Levels(int w, int h) {
    at[0] = {w, h, 0};
    for (int k = 1; k <= kCoarseLevels; ++k) {
      const Level& fine = at[k - 1];
      at[k] = {coarseSize(fine.w), coarseSize(fine.h), fine.offset + fine.samples()};
    }
  }
};

// The prediction never writes its frame; clearing it keeps every scratch bit reproducible.
void clearFrame(int w, int h, float* image) {
  for (int y = 0; y < h; ++y) {
    float* row = image + levelSamples(w, y);
    const bool isWhole = y == 0 || y == h - 1;
    for (int x = 0; x < w; x += isWhole || x == w - 1 ? 1 : w - 1) {
      for (int k = 0; k < kChannels; ++k) row[x * kChannels + k] = 0.0f;
    }
  }
}

void predict(const Level& fine, const Level& coarse, const TileBuffers& b, const params::ReconstructSettings& s) {
  clearFrame(fine.w, fine.h, b.prediction);
  pyramid::reconstruct(fine.w, fine.h, b.pyramid + coarse.offset, b.pyramid + fine.offset, b.prediction, s);
}

void filterAt(int level, const Level& size, const Rectangle& area, int workers, const TileBuffers& b) {
  filters::filterLevel({size.w}, size.h, area, workers,
                       {b.pyramid + size.offset, b.reduced, b.prediction, b.differences + size.offset},
                       params::noiseSettings(api::tuningInForce(), level),
                       params::sharpenSettings(api::tuningInForce(), level));
}

}  // namespace

Rectangle filterTile(int w, int h, const Rectangle& mainArea, int workers, const TileBuffers& b) {
  const Levels levels(w, h);
  const params::ReconstructSettings settings = api::reconstructInForce();
  Rectangle area = mainArea;
  filterAt(0, levels.at[0], area, workers, b);
  for (int k = 0; k < kCoarseLevels; ++k) {
    const Level& fine = levels.at[k];
    const Level& coarse = levels.at[k + 1];
    pyramid::lift(fine.w, coarse.w, coarse.h, b.pyramid + fine.offset, b.pyramid + coarse.offset);
    predict(fine, coarse, b, settings);
    pyramid::subtract(fine.samples(), b.prediction, b.pyramid + fine.offset, b.differences + fine.offset);
    area = {kReach, coarse.w - kReach, kReach, coarse.h - kReach};
    filterAt(k + 1, coarse, area, k == 0 ? workers : 0, b);
  }
  for (int k = kCoarseLevels - 1; k >= 0; --k) {
    const Level& fine = levels.at[k];
    predict(fine, levels.at[k + 1], b, settings);
    pyramid::subtract(fine.samples(), b.prediction, b.differences + fine.offset, b.pyramid + fine.offset);
  }
  return area;
}

}  // namespace veskaro

extern "C" {

int denoise_tile(int wTile, int hTile, int* startCoord, int spp, int nbProc, float* workDiff, float* workDest,
                 float* workTemp, float* inOutTile) {
  if (spp != veskaro::pixels::kChannels) return NR_ERROR_ARGUMENT;
  if (wTile < 1 || hTile < 1) return 0;
  const veskaro::platform::DefaultFpEnvironment environment;
  const veskaro::pixels::Rectangle last =
      veskaro::filterTile(wTile, hTile, veskaro::pixels::Rectangle::fromCoordinates(startCoord), nbProc,
                          {inOutTile, workDiff, workDest, workTemp});
  startCoord[0] = last.xStart;
  startCoord[1] = last.xEnd;
  startCoord[2] = last.yStart;
  startCoord[3] = last.yEnd;
  return 0;
}

}  // extern "C"
