// How much a picture changed, and why it did not.
#pragma once

#include "denoise_photo.h"
#include "radiance.h"

namespace tool {

struct Change {
  double share = 0;    // of the pixels that differ at all
  double mean = 0;     // mean difference of all samples; on the 8-bit scale, or of all bytes of an HDR picture
  double largest = 0;  // on the same scale
};

Change changeOf(const Photo& photo, const Bytes& after);
// Before as HdrPicture::planar was, of the same size.
Change changeOf(const HdrPicture& picture, const Bytes& before, const Bytes& after);

// When next to nothing changed, the sentence that says why; empty otherwise.
std::string whyUnchanged(const Photo& photo, const PhotoResult& result, const Change& change);
std::string whyUnchanged(const Change& changeOfHdr);

}  // namespace tool
