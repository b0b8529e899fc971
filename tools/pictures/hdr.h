// Radiance pictures: four bytes a pixel, row-planar as denoise1 takes them.
#pragma once

#include <string>

#include "pictures/bytes.h"
#include "pictures/formats.h"
#include "pictures/layout.h"

namespace tool::pictures {

struct HdrPicture {
  int width = 0;       // pixels of a scanline
  int height = 0;      // scanlines
  std::string header;  // the text in front of the pixels, resolution line included; empty: make a plain one
  Bytes planar;        // 4 * width * height bytes

  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  Layout layout() const { return {width, height, 8, Colour::kRgbe, 4}; }
};

// A Radiance file's. Throws Failure.
HdrPicture decodeHdr(const Bytes& file);

// A Radiance file with the picture's header and these pixels, laid out as HdrPicture::planar.
Bytes encodeHdr(const HdrPicture& picture, const Bytes& planar);

// The planar rows of such a picture as four bytes a pixel: R, G, B, exponent.
Bytes fromPlanar(const Bytes& planar, int width, int height);

}  // namespace tool::pictures
