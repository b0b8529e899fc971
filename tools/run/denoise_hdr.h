// A high-dynamic-range picture through denoise1.
#pragma once

#include "pictures/hdr.h"
#include "run/done.h"
#include "run/settings.h"

namespace tool::run {

struct DenoisedHdr {
  pictures::Bytes planar;
  Done done;
};

// Throws Failure.
DenoisedHdr denoiseHdr(const pictures::HdrPicture& picture, const Settings& settings);

}  // namespace tool::run
