// A photograph through denoise2.
#pragma once

#include "pictures/photo.h"
#include "run/done.h"
#include "run/settings.h"

namespace tool::run {

struct DenoisedPhoto {
  pictures::Bytes rgb;  // laid out as Photo::rgb
  Done done;
};

// Throws Failure.
DenoisedPhoto denoisePhoto(const pictures::Photo& photo, const Settings& settings);

}  // namespace tool::run
