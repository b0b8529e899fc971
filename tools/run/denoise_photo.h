// A photograph, measured and denoised.
#pragma once

#include "pictures/photo.h"
#include "run/done.h"
#include "run/settings.h"
#include "run/watch.h"

namespace tool::run {

struct DenoisedPhoto {
  pictures::Bytes samples;  // laid out as the photograph's own; what is no colour is the same
  Done done;
};

// Throws Failure, or Interrupted.
DenoisedPhoto denoisePhoto(const pictures::Photo& photo, const Settings& settings, const Watch& watch);

}  // namespace tool::run
