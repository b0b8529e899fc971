// A photograph through denoise2.
#pragma once

#include "pictures/photo.h"
#include "run/noise_profile.h"
#include "run/parameters.h"
#include "run/settings.h"

namespace tool::run {

struct DenoisedPhoto {
  pictures::Bytes rgb;    // laid out as Photo::rgb
  Parameters parameters;  // as denoise2 used them
  NoiseProfile noise;     // of a measurement of its own, for what denoise2 does not hand out
  double seconds = 0;     // of denoise2, its own measurement included
};

// Throws Failure.
DenoisedPhoto denoisePhoto(const pictures::Photo& photo, const Settings& settings);

}  // namespace tool::run
