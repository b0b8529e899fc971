// Before and after as a screen shows them: 8-bit sRGB, upright, high dynamic range toned down.
#pragma once

#include <vips/vips8>

#include "photo.h"
#include "radiance.h"

namespace tool {

struct DisplayPair {
  vips::VImage before, after;  // three bands each, in memory, of equal size
};

DisplayPair displayPair(const Photo& photo, const Bytes& after);
// Both toned by the brightness of the picture before.
DisplayPair displayPair(const HdrPicture& picture, const Bytes& before, const Bytes& after);

struct Rectangle {
  int left = 0, top = 0, width = 0, height = 0;
};

// The windows of at most this size in which the pictures differ most, the most changed first; they do not overlap.
std::vector<Rectangle> mostChanged(const DisplayPair& pair, int width, int height, int count);

// The difference of the two, magnified and laid over mid grey, so that what was taken away shows its colour.
vips::VImage magnifiedDifference(const DisplayPair& pair, double factor);

constexpr double kMagnification = 8;

// Writes a PNG: before, after and magnified difference side by side, and the most changed window of each at its real
// size below. Replaces a file only when overwrite is set. Throws Failure.
void writeComparison(const std::string& path, const DisplayPair& pair, bool overwrite);

}  // namespace tool
