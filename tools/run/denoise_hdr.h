// A high-dynamic-range picture: as light for the rule that gains most, through denoise1 for the classic one.
#pragma once

#include "pictures/hdr.h"
#include "run/done.h"
#include "run/settings.h"
#include "run/watch.h"

namespace tool::run {

struct DenoisedHdr {
  pictures::Bytes planar;
  Done done;
};

// Throws Failure, or Interrupted.
DenoisedHdr denoiseHdr(const pictures::HdrPicture& picture, const Settings& settings, const Watch& watch);

}  // namespace tool::run
