// The places where a picture changed most.
#pragma once

#include <vector>

#include "tell/display.h"

namespace tool::tell {

struct Rectangle {
  int left = 0, top = 0, width = 0, height = 0;

  vips::VImage cutFrom(const vips::VImage& image) const { return image.crop(left, top, width, height); }
};

// The windows of at most this size in which the pictures differ most, the most changed first; they do not overlap.
std::vector<Rectangle> mostChanged(const DisplayPair& pair, int width, int height, int count);

}  // namespace tool::tell
