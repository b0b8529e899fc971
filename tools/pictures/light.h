// Pictures of floats: proportional to light, of any scale, or as a screen takes them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "pictures/hdr.h"
#include "pictures/photo.h"

namespace tool::pictures {

// The colour of a picture, one or three floats a pixel.
struct Light {
  int width = 0, height = 0, channels = 3;
  std::vector<float> samples;

  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

enum class SampleKind { kHalf, kFloat, kUint };

// A channel that is no colour: alpha, depth, and whatever else a file holds. It stays as it is.
struct FurtherChannel {
  std::string name;
  SampleKind kind = SampleKind::kFloat;
  Bytes samples;  // 2 or 4 bytes each, native byte order
};

struct ExrHeader;

struct LightPicture {
  Format format = Format::kOpenExr;
  Light light;
  int bits = 32;  // of a float in the file, 16 or 32
  std::vector<FurtherChannel> further;
  std::shared_ptr<const ExrHeader> exr;  // of an OpenEXR file
  std::string radianceHeader;            // of a Radiance file
  int pages = 1;
  Coding coding;
  std::shared_ptr<const Metadata> metadata;

  Layout layout() const;
};

// True of a TIFF or PNM file whose samples are floats. Throws Failure when it cannot be opened.
bool holdsFloats(const Bytes& file, Format format);

// A file of floats: OpenEXR, or TIFF or PNM that holds them; or Radiance. Throws Failure.
LightPicture decodeLight(const Bytes& file, Format format);

// Throws Failure when the format cannot hold all of the picture.
void requireFits(const LightPicture& picture, Format format);

// The picture as a file of a format that it fits. Throws Failure.
Bytes encodeLight(const LightPicture& picture, Format format);

// The same colours as RGBE, grey thrice; and back, in as many channels as before.
HdrPicture toRadiance(const LightPicture& picture);
Light lightOf(const HdrPicture& picture, int channels);

}  // namespace tool::pictures
