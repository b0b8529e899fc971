// A picture of floats, or of RGBE as light, through the pyramid's filters.
#pragma once

#include "pictures/light.h"
#include "run/denoise_hdr.h"

namespace tool::run {

// Throws Failure, or Interrupted.
DenoisedHdr denoiseLinear(const pictures::HdrPicture& picture, const Settings& settings, const Watch& watch);

struct DenoisedLight {
  pictures::Light after;
  Done done;
};

// Proportional to light, unless the settings say that a screen takes the floats as they are. The classic rule takes
// light through RGBE. Throws Failure, or Interrupted.
DenoisedLight denoiseLight(const pictures::LightPicture& picture, const Settings& settings, const Watch& watch);

// The noise of such a picture. Throws Failure.
NoiseProfile measureLight(const pictures::Light& light, const Watch& watch);

}  // namespace tool::run
