// A photograph through denoise2.
#pragma once

#include "noise_profile.h"
#include "photo.h"
#include "settings.h"

namespace tool {

struct PhotoResult {
  Bytes rgb;             // laid out as Photo::rgb
  Params asked{};        // the vector as it went in
  Params used{};         // and as it came out: with what was measured, or the defaults
  NoiseProfile profile;  // of a measurement of its own, for what denoise2 does not hand out
  double seconds = 0;    // of denoise2, its own measurement included
};

// Throws Failure.
PhotoResult denoisePhoto(const Photo& photo, const Settings& settings);

}  // namespace tool
