// Before and after as a screen shows them: 8-bit sRGB, upright, high dynamic range toned down.
#pragma once

#include <vips/vips8>

#include "pictures/hdr.h"
#include "pictures/light.h"
#include "pictures/photo.h"

namespace tool::tell {

struct DisplayPair {
  vips::VImage before, after;  // three bands each, in memory, of equal size
};

DisplayPair displayPair(const pictures::Photo& photo, const pictures::Bytes& after);
// Samples of so many of the photograph's pixels in sRGB, by its profile and as the file has them turned.
vips::VImage colourOnScreen(const pictures::Photo& photo, const std::uint8_t* samples, int width, int height);
// Both toned by the brightness of the picture before.
DisplayPair displayPair(const pictures::HdrPicture& picture, const pictures::Bytes& after);
DisplayPair displayPair(const pictures::LightPicture& picture, const pictures::Light& after, bool displayReferred);

constexpr double kMagnification = 8;

// The difference of the two, magnified and laid over mid grey, so that what was taken away shows its colour.
vips::VImage magnifiedDifference(const DisplayPair& pair);

}  // namespace tool::tell
