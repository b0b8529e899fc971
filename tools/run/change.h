// How much a picture changed, and why it did not.
#pragma once

#include <optional>
#include <string>

#include "pictures/hdr.h"
#include "pictures/light.h"
#include "pictures/photo.h"
#include "run/noise_profile.h"
#include "run/parameters.h"

namespace tool::run {

struct Change {
  double share = 0;  // of the pixels that differ at all
  // Mean difference of all samples: on the 8-bit scale, of all bytes of RGBE, or of the floats as they are.
  double mean = 0;
  double largest = 0;  // on the same scale
};

// After is laid out as the samples of the picture, of the same size.
Change changeOf(const pictures::Photo& photo, const pictures::Bytes& after);
Change changeOf(const pictures::HdrPicture& picture, const pictures::Bytes& after);
Change changeOf(const pictures::Light& before, const pictures::Light& after);

// When next to nothing changed, the sentence that says why.
std::optional<std::string> whyUnchanged(const pictures::Photo& photo, const Parameters& used, const NoiseProfile& noise,
                                        Rule rule, const Change& change);
std::optional<std::string> whyUnchanged(const NoiseProfile& noiseOfHdr, const Change& change);
std::optional<std::string> whyUnchanged(const Change& changeByDenoise1);

}  // namespace tool::run
