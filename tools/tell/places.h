// Places of a picture that are worth a closer look.
#pragma once

#include <vector>

#include "tell/display.h"

namespace tool::tell {

struct Rectangle {
  int left = 0, top = 0, width = 0, height = 0;

  vips::VImage cutFrom(const vips::VImage& image) const { return image.crop(left, top, width, height); }
};

// What makes a place worth it: how much changed there, how much detail and how many edges there are, or both at once.
enum class Look { kChange, kDetail, kBoth };

struct Place {
  Look look;
  Rectangle window;
};

// For each look in turn the best window of at most this size. No two lie beside each other: at least half a window is
// between them; where there is no room for that there are fewer.
std::vector<Place> placesOf(const DisplayPair& pair, int width, int height, const std::vector<Look>& looks);

}  // namespace tool::tell
