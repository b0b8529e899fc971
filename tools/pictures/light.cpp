#include "pictures/light.h"

#include <fmt/format.h>
#include <half.h>

#include <algorithm>
#include <cstring>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/exr.h"
#include "pictures/libvips.h"
#include "pictures/memory_limit.h"
#include "pictures/rgbe.h"

namespace tool::pictures {
namespace {

using vips::VImage;

// One colour after another, then the channels behind them.
void takeSamples(const float* from, std::size_t bands, LightPicture& picture) {
  const std::size_t colours = static_cast<std::size_t>(picture.light.channels), pixels = picture.light.pixels();
  picture.light.samples.resize(pixels * colours);
  for (std::size_t c = colours; c < bands; ++c)
    picture.further.push_back(
        {c == colours ? "A" : fmt::format("extra{}", c - colours), SampleKind::kFloat, Bytes(pixels * sizeof(float))});
  for (std::size_t i = 0; i < pixels; ++i, from += bands) {
    std::copy_n(from, colours, &picture.light.samples[i * colours]);
    for (std::size_t c = colours; c < bands; ++c)
      std::memcpy(&picture.further[c - colours].samples[i * sizeof(float)], from + c, sizeof(float));
  }
}

LightPicture decodeByLibvips(const Bytes& file, Format format) {
  const VImage image = openPicture(file, format);
  LightPicture picture;
  picture.format = format;
  picture.light.width = image.width();
  picture.light.height = image.height();
  picture.light.channels = hasOneColour(image) ? 1 : 3;
  picture.coding = codingOf(image);
  picture.pages = image.get_typeof("n-pages") != 0 ? image.get_int("n-pages") : 1;
  picture.metadata = std::make_shared<Metadata>(readMetadata(file, format, image));
  const std::size_t bands = static_cast<std::size_t>(image.bands());
  requireMemory(picture.light.pixels() * sizeof(float) * (2 * bands + 9));
  const DecodedPixels pixels = readPixels(image);
  takeSamples(reinterpret_cast<const float*>(pixels.samples.get()), bands, picture);
  return picture;
}

LightPicture decodeRadiance(const Bytes& file) {
  const HdrPicture hdr = decodeHdr(file);
  LightPicture picture;
  picture.format = Format::kRadiance;
  picture.light = lightOf(hdr, 3);
  picture.radianceHeader = hdr.header;
  picture.metadata = std::make_shared<Metadata>();
  return picture;
}

float furtherSample(const FurtherChannel& channel, std::size_t pixel) {
  if (channel.kind == SampleKind::kHalf) {
    half value;
    std::memcpy(&value, &channel.samples[pixel * sizeof value], sizeof value);
    return value;
  }
  float value = 0;
  std::memcpy(&value, &channel.samples[pixel * sizeof value], sizeof value);
  return value;
}

std::vector<float> interleaved(const LightPicture& picture) {
  const std::size_t colours = static_cast<std::size_t>(picture.light.channels);
  std::vector<float> samples;
  samples.reserve(picture.light.pixels() * (colours + picture.further.size()));
  for (std::size_t i = 0; i < picture.light.pixels(); ++i) {
    samples.insert(samples.end(), &picture.light.samples[i * colours], &picture.light.samples[i * colours] + colours);
    for (const FurtherChannel& channel : picture.further) samples.push_back(furtherSample(channel, i));
  }
  return samples;
}

Bytes encodeTiff(const LightPicture& picture) {
  const std::vector<float> samples = interleaved(picture);
  const int bands = picture.light.channels + static_cast<int>(picture.further.size());
  const VImage image = VImage::new_from_memory(const_cast<float*>(samples.data()), samples.size() * sizeof(float),
                                               picture.light.width, picture.light.height, bands, VIPS_FORMAT_FLOAT)
                           .copy(VImage::option()
                                     ->set("interpretation", picture.light.channels == 1 ? VIPS_INTERPRETATION_B_W
                                                                                         : VIPS_INTERPRETATION_scRGB)
                                     ->set("xres", picture.coding.xResolution)
                                     ->set("yres", picture.coding.yResolution));
  const Blob saved(image.tiffsave_buffer(VImage::option()
                                             ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
                                             ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_FLOAT)));
  return withMetadata(saved.bytes(), Format::kTiff, *picture.metadata);
}

Bytes encodeRadiance(const LightPicture& picture) {
  const HdrPicture hdr = toRadiance(picture);
  return encodeHdr(hdr, hdr.planar);
}

}  // namespace

Layout LightPicture::layout() const {
  return {light.width,
          light.height,
          bits,
          light.channels == 1 ? Colour::kGrey : Colour::kRgb,
          light.channels + static_cast<int>(further.size()),
          true};
}

bool holdsFloats(const Bytes& file, Format format) try {
  if (format != Format::kTiff && format != Format::kPnm) return false;
  return openPicture(file, format).format() == VIPS_FORMAT_FLOAT;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

LightPicture decodeLight(const Bytes& file, Format format) try {
  if (format == Format::kOpenExr) return decodeExr(file);
  return format == Format::kRadiance ? decodeRadiance(file) : decodeByLibvips(file, format);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

void requireFits(const LightPicture& picture, Format format) {
  const auto isUint = [](const FurtherChannel& channel) { return channel.kind == SampleKind::kUint; };
  const bool hasUint = std::any_of(picture.further.begin(), picture.further.end(), isUint);
  if (format == Format::kOpenExr || (format == Format::kTiff && !hasUint)) return;
  if (format == Format::kTiff)
    throw Failure("TIFF of floats cannot hold the picture's channel of whole numbers; choose .exr");
  if (format != Format::kRadiance) {
    throw Failure(fmt::format("a high-dynamic-range picture cannot be written as {}; choose .exr, .tif or .hdr",
                              formatName(format)));
  }
  if (!picture.further.empty())
    throw Failure("Radiance cannot hold the picture's alpha or further channels; choose .exr");
}

Bytes encodeLight(const LightPicture& picture, Format format) try {
  requireFits(picture, format);
  if (format == Format::kOpenExr) return encodeExr(picture);
  return format == Format::kRadiance ? encodeRadiance(picture) : encodeTiff(picture);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

HdrPicture toRadiance(const LightPicture& picture) {
  HdrPicture hdr;
  hdr.width = picture.light.width;
  hdr.height = picture.light.height;
  hdr.header = picture.radianceHeader;
  hdr.planar = fromLight(picture.light);
  return hdr;
}

Light lightOf(const HdrPicture& picture, int channels) {
  Light light{picture.width, picture.height, channels, toLight(picture)};
  if (channels == 3) return light;
  for (std::size_t i = 0; i < light.pixels(); ++i) light.samples[i] = light.samples[3 * i + 1];
  light.samples.resize(light.pixels());
  return light;
}

}  // namespace tool::pictures
