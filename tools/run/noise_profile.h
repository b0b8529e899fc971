// The noise of a photograph, as denoise2 measures it before it filters.
#pragma once

#include <string>
#include <vector>

#include "pictures/photo.h"
#include "run/parameters.h"

namespace tool::run {

// A 32 x 32 block of the picture.
struct NoiseBlock {
  int column, row;  // in blocks
  int brightness;   // mean of the samples, 0 to 255
  float deviation;  // mean difference of neighbours, made comparable across brightness
  bool candidate;   // among the smoothest of its half, shadows or highlights
  bool chosen;      // one of the few that decide
};

struct NoiseProfile {
  int result = 0;        // of auto_profile; negative: the library works with its defaults
  float noiseLevel = 0;  // with the strength factor applied
  float statistic = 0;   // mean deviation of the chosen blocks
  Params params{};       // with the measured entries
  double seconds = 0;
  std::vector<NoiseBlock> blocks;  // the usable ones

  bool measured() const { return result >= 0; }
  // A sentence that says why defaults are used; empty when they are not.
  std::string whyDefaults() const;
};

// params as vectorOf made them. Picture sizes as decodePhoto grants them.
NoiseProfile measureNoise(const pictures::Photo& photo, const Params& params);

}  // namespace tool::run
