// A photograph, measured and denoised.
#pragma once

#include <veskaronr.h>

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

// The samples after, with these settings. Throws Failure, or Interrupted.
pictures::Bytes filterPhoto(const pictures::Photo& photo, const vnr_settings& settings, int threads,
                            const Watch& watch);

// Whether a grey photograph is filtered as three channels, of which red is kept.
bool isFilteredAsColour(const pictures::Photo& photo, const vnr_settings& settings);

}  // namespace tool::run
