// Photographs: 8- or 16-bit pictures with one or three colour channels, and whatever channels follow them.
#pragma once

#include <memory>
#include <vips/vips8>

#include "pictures/bytes.h"
#include "pictures/formats.h"
#include "pictures/layout.h"
#include "pictures/metadata/metadata.h"
#include "pictures/save_options.h"

namespace tool::pictures {

struct Photo {
  int width = 0;
  int height = 0;
  int bits = 8;        // per sample, 8 or 16
  bool grey = false;   // one colour channel in the file
  int extraBands = 0;  // channels after the colour: alpha and the like
  Format format = Format::kPng;
  int pages = 1;        // in the file; the first is the one that is read
  Bytes rgb;            // width * height * 3 samples, native byte order; a grey picture three times the same
  Bytes extra;          // width * height * extraBands samples
  vips::VImage header;  // the picture as it was opened: interpretation, resolution, how it was coded
  bool lossyWebp = false;
  std::shared_ptr<const Metadata> metadata;

  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  std::size_t sampleBytes() const { return static_cast<std::size_t>(bits / 8); }
  int colourBands() const { return grey ? 1 : 3; }
  // Bytes of a pixel in the file: of its colour, and of what follows it.
  std::size_t colourBytes() const { return static_cast<std::size_t>(colourBands()) * sampleBytes(); }
  std::size_t extraBytes() const { return static_cast<std::size_t>(extraBands) * sampleBytes(); }
  Layout layout() const {
    return {width, height, bits, grey ? Colour::kGrey : Colour::kRgb, colourBands() + extraBands};
  }
};

// Throws Failure for a file that is damaged, too large, or of a kind that denoise2 has no meaning for.
Photo decodePhoto(const Bytes& file, Format format);

// Throws Failure when the format cannot hold the photograph as it is.
void requireFits(const Photo& photo, Format format);

// The photograph with these colour samples (laid out as Photo::rgb) in place of its own, as a file of the format.
Bytes encodePhoto(const Photo& photo, const Bytes& rgb, Format format, const SaveOptions& options);

}  // namespace tool::pictures
