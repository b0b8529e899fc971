// High-dynamic-range pictures: four bytes a pixel, row-planar as denoise1 takes them.
#pragma once

#include <string>

#include "formats.h"

namespace tool {

struct HdrPicture {
  int width = 0;   // pixels of a scanline
  int height = 0;  // scanlines
  Format format = Format::kRadiance;
  std::string header;  // the text in front of the pixels, resolution line included; empty: make a plain one
  Bytes planar;        // 4 * width * height bytes

  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

// Radiance pixels are taken as they are; OpenEXR pixels are converted to RGBE, without their alpha. Throws Failure.
HdrPicture decodeHdr(const Bytes& file, Format format);

// A Radiance file with the picture's header and these pixels, laid out as HdrPicture::planar.
Bytes encodeHdr(const HdrPicture& picture, const Bytes& planar);

// Four bytes a pixel (R, G, B, exponent) to rows of four planes, and back.
Bytes toPlanar(const std::uint8_t* pixels, int width, int height);
Bytes fromPlanar(const Bytes& planar, int width, int height);

}  // namespace tool
