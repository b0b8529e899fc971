// A high-dynamic-range picture through the pyramid's filters, as light.
#pragma once

#include "run/denoise_hdr.h"

namespace tool::run {

// Throws Failure, or Interrupted.
DenoisedHdr denoiseLinear(const pictures::HdrPicture& picture, const Settings& settings, const Watch& watch);

// The noise of such a picture. Throws Failure.
NoiseProfile measureLight(const pictures::HdrPicture& picture, const Watch& watch);

}  // namespace tool::run
