// One tile through the four-level pyramid. Going down, every level is filtered before it is lifted, and what its
// prediction misses is stored. Going up, each level is predicted anew from its changed coarse neighbour, less the
// stored difference: changes of a coarse level reach the fine one along the same similarity weights, fine detail stays.
#include "tiled/tile_pyramid.h"

#include <cstddef>

#include "filters/level_filter.h"
#include "filters/neighbour_weights.h"
#include "pixels/level.h"
#include "pyramid/lift.h"
#include "pyramid/reconstruct.h"
#include "tiled/tile_geometry.h"

namespace veskaro::tiled {
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

// The steps in the fastest form there is, level filters on workers where a host wants them.
struct FastSteps {
  int workers;

  void filter(const pixels::LevelLayout& layout, int height, const Rectangle& area, int level,
              const filters::LevelBuffers& b, const params::TileSettings& s) const {
    filters::filterLevel(layout, height, area, level < 2 ? workers : 0, b, s.noise[level], s.sharpen[level]);
  }
  void reconstruct(const Level& fine, const float* coarse, const float* guide, float* result,
                   const params::ReconstructSettings& s) const {
    pyramid::reconstruct(fine.w, fine.h, coarse, guide, result, s);
  }
};

// The steps in plain code, which take no memory.
struct PlainSteps {
  void filter(const pixels::LevelLayout& layout, int height, const Rectangle& area, int level,
              const filters::LevelBuffers& b, const params::TileSettings& s) const {
    filters::plain::filterLevel(layout, height, area, b, s.noise[level], s.sharpen[level]);
  }
  void reconstruct(const Level& fine, const float* coarse, const float* guide, float* result,
                   const params::ReconstructSettings& s) const {
    pyramid::plain::reconstruct(fine.w, fine.h, coarse, guide, result, s);
  }
};

template <class Steps>
class TilePyramid {
 public:
  TilePyramid(const Steps& steps, int w, int h, const TileBuffers& buffers, const params::TileSettings& settings)
      : steps_(steps), levels_(w, h), b_(buffers), settings_(settings) {}

  Rectangle run(const Rectangle& mainArea) const {
    Rectangle area = mainArea;
    filter(0, area);
    for (int k = 0; k < kCoarseLevels; ++k) {
      const Level& fine = levels_.at[k];
      const Level& coarse = levels_.at[k + 1];
      pyramid::lift(fine.w, coarse.w, coarse.h, b_.pyramid + fine.offset, b_.pyramid + coarse.offset);
      predict(fine, coarse);
      pyramid::subtract(fine.samples(), b_.prediction, b_.pyramid + fine.offset, b_.differences + fine.offset);
      area = {kReach, coarse.w - kReach, kReach, coarse.h - kReach};
      filter(k + 1, area);
    }
    for (int k = kCoarseLevels - 1; k >= 0; --k) {
      const Level& fine = levels_.at[k];
      predict(fine, levels_.at[k + 1]);
      pyramid::subtract(fine.samples(), b_.prediction, b_.differences + fine.offset, b_.pyramid + fine.offset);
    }
    return area;
  }

 private:
  void filter(int level, const Rectangle& area) const {
    const Level& l = levels_.at[level];
    steps_.filter({l.w}, l.h, area, level,
                  {b_.pyramid + l.offset, b_.reduced, b_.prediction, b_.differences + l.offset}, settings_);
  }

  void predict(const Level& fine, const Level& coarse) const {
    clearFrame(fine.w, fine.h, b_.prediction);
    steps_.reconstruct(fine, b_.pyramid + coarse.offset, b_.pyramid + fine.offset, b_.prediction,
                       settings_.reconstruct);
  }

  const Steps& steps_;
  const Levels levels_;
  const TileBuffers& b_;
  const params::TileSettings& settings_;
};

}  // namespace

Rectangle filterTile(int w, int h, const Rectangle& mainArea, int workers, const TileBuffers& buffers,
                     const params::TileSettings& settings) {
  const FastSteps steps = {workers};
  return TilePyramid<FastSteps>(steps, w, h, buffers, settings).run(mainArea);
}

void filterTilePlainly(int w, int h, const Rectangle& mainArea, const TileBuffers& buffers,
                       const params::TileSettings& settings) {
  const PlainSteps steps;
  TilePyramid<PlainSteps>(steps, w, h, buffers, settings).run(mainArea);
}

}  // namespace veskaro::tiled
