// Photographs: 8- or 16-bit pictures with one or three colour channels, and whatever channels follow them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "pictures/bytes.h"
#include "pictures/formats.h"
#include "pictures/layout.h"
#include "pictures/libvips.h"
#include "pictures/metadata/metadata.h"
#include "pictures/save_options.h"

namespace tool::pictures {

// How the file that was read had it, where the result is to have it too.
struct Coding {
  int storedBits = 8;              // of a sample in the file; more than 8 are 16 in memory
  std::optional<int> jpegQuality;  // that a JPEG's tables are of
  VipsInterpretation interpretation = VIPS_INTERPRETATION_sRGB;
  double xResolution = 1, yResolution = 1;  // in pixels a millimetre
  std::string resolutionUnit;               // empty: none
  int orientation = 1;                      // as EXIF counts
  bool isInterlaced = false, hasHalvedChroma = false, isLossy = false;
};

struct Photo {
  int width = 0;
  int height = 0;
  int bits = 8;        // per sample, 8 or 16
  bool grey = false;   // one colour channel
  int extraBands = 0;  // channels after the colour: alpha and the like
  Format format = Format::kPng;
  int pages = 1;           // in the file; the first is the one that is read
  std::string leftBehind;  // what the file holds beside its pictures and no result can; empty: nothing
  DecodedPixels decoded;   // width * height * bands() samples, native byte order
  Coding coding;
  std::shared_ptr<const Metadata> metadata;

  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  int colourBands() const { return grey ? 1 : 3; }
  int bands() const { return colourBands() + extraBands; }
  const std::uint8_t* samples() const { return decoded.samples.get(); }
  Layout layout() const { return {width, height, bits, grey ? Colour::kGrey : Colour::kRgb, bands()}; }
};

// The file as libvips opens it: its header is read, its pixels are not. Throws Failure, or vips::VError.
vips::VImage openPicture(const Bytes& file, Format format);
bool hasOneColour(const vips::VImage& image);
Coding codingOf(const vips::VImage& image);

// Throws Failure for a file that is damaged, too large, or of a kind that cannot be denoised as a photograph. Nothing
// in the photograph refers to the file's bytes.
Photo decodePhoto(const Bytes& file, Format format);

// Throws Failure when the format cannot hold the photograph as it is.
void requireFits(const Photo& photo, Format format);

// The photograph with these samples in place of its own, which need not be there any more, as a file of the format.
// Takes the samples so as to let them go as soon as they are coded.
Bytes encodePhoto(const Photo& photo, Bytes samples, Format format, const SaveOptions& options);

}  // namespace tool::pictures
