// A high-dynamic-range picture through denoise1.
#pragma once

#include <array>

#include "pictures/hdr.h"
#include "run/settings.h"

namespace tool::run {

using HdrStatistics = std::array<float, 6>;

struct DenoisedHdr {
  pictures::Bytes planar;
  int strength = 100;
  bool chromaOnly = false;
  HdrStatistics statistics{};
  double statisticsSeconds = 0;  // of a measurement of its own
  double seconds = 0;            // of denoise1, its own statistics included
};

// The six figures that denoise1 works with at a strength. Throws Failure.
HdrStatistics hdrStatistics(pictures::HdrPicture& picture, int strength);

// Throws Failure. The picture itself is used up: from strength 100 on it comes back with its chroma denoised.
DenoisedHdr denoiseHdr(pictures::HdrPicture& picture, const Settings& settings);

}  // namespace tool::run
