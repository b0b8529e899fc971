// A high-dynamic-range picture through denoise1.
#pragma once

#include <array>

#include "radiance.h"
#include "settings.h"

namespace tool {

struct HdrResult {
  Bytes planar;
  int strength = 100;
  bool chromaOnly = false;
  std::array<float, 6> statistics{};
  double seconds = 0;            // of denoise1, its own statistics included
  double statisticsSeconds = 0;  // of a measurement of its own
};

// The six figures that denoise1 works with at a strength. Throws Failure.
std::array<float, 6> hdrStatistics(HdrPicture& picture, int strength);

// Throws Failure. The picture itself is used up: from strength 100 on it comes back with its chroma denoised.
HdrResult denoiseHdr(HdrPicture& picture, const Settings& settings);

}  // namespace tool
