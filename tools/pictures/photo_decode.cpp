#include <fmt/format.h>

#include <climits>
#include <cstring>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/libvips.h"
#include "pictures/memory_limit.h"
#include "pictures/photo.h"

namespace tool::pictures {
namespace {

using vips::VImage;
using vips::VOption;

VImage load(const Bytes& file, Format format) {
  const Blob blob = blobOver(file);
  // A damaged file is refused whole: half a picture is not what anyone wants denoised.
  VOption* options = VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR);
  switch (format) {
    case Format::kPng:
      return VImage::pngload_buffer(blob.get(), options);
    case Format::kJpeg:
      return VImage::jpegload_buffer(blob.get(), options);
    case Format::kTiff:
      return VImage::tiffload_buffer(blob.get(), options);
    case Format::kWebp:
      return VImage::webpload_buffer(blob.get(), options);
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  delete options;
  throw Failure(std::string(formatName(format)) + " is not a photograph format");
}

int bitsOf(const VImage& image) {
  switch (image.format()) {
    case VIPS_FORMAT_UCHAR:
      return 8;
    case VIPS_FORMAT_USHORT:
      return 16;
    default:
      throw Failure(fmt::format("samples of type {} are not supported (only unsigned 8 and 16 bits are)",
                                vips_enum_nick(VIPS_TYPE_BAND_FORMAT, image.format())));
  }
}

bool isGrey(const VImage& image) {
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
      return true;
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB:
    case VIPS_INTERPRETATION_RGB16:
      if (image.bands() >= 3) return false;
      [[fallthrough]];
    default:
      throw Failure(fmt::format("{} pictures with {} channels are not supported (only grey and RGB are)",
                                vips_enum_nick(VIPS_TYPE_INTERPRETATION, image.interpretation()), image.bands()));
  }
}

// All of a photograph but its samples.
Photo open(const Bytes& file, Format format) {
  Photo photo;
  photo.format = format;
  photo.header = load(file, format);
  photo.width = photo.header.width();
  photo.height = photo.header.height();
  photo.bits = bitsOf(photo.header);
  photo.grey = isGrey(photo.header);
  photo.extraBands = photo.header.bands() - photo.colourBands();
  photo.metadata = std::make_shared<Metadata>(readMetadata(file, format, photo.header));
  photo.lossyWebp = format == Format::kWebp && webpIsLossy(file);
  photo.pages = photo.header.get_typeof("n-pages") != 0 ? photo.header.get_int("n-pages") : 1;
  return photo;
}

void requireUsableSize(const Photo& photo) {
  // denoise2 counts the samples of a picture in an int.
  if (photo.pixels() > INT_MAX / 3) {
    throw Failure(fmt::format("{} x {} pixels are too many (at most {} megapixels)", photo.width, photo.height,
                              INT_MAX / 3000000));
  }
  // Decoded, split, denoised and encoded copies; the tiles come on top but are small.
  requireMemory(photo.pixels() * (3 * 3 * photo.sampleBytes() + 2 * photo.extraBytes()));
}

// Splits pixels of colour bands and extra bands into the two buffers.
void split(const std::uint8_t* pixels, Photo& photo) {
  const std::size_t sample = photo.sampleBytes(), colour = photo.colourBytes(), more = photo.extraBytes();
  photo.rgb.resize(photo.pixels() * 3 * sample);
  photo.extra.resize(photo.pixels() * more);
  std::uint8_t* to = photo.rgb.data();
  for (std::size_t i = 0; i < photo.pixels(); ++i, pixels += colour + more, to += 3 * sample) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      std::memcpy(to + channel * sample, pixels + (photo.grey ? 0 : channel * sample), sample);
    }
    if (more > 0) std::memcpy(photo.extra.data() + i * more, pixels + colour, more);
  }
}

}  // namespace

Photo decodePhoto(const Bytes& file, Format format) try {
  Photo photo = open(file, format);
  requireUsableSize(photo);
  const DecodedPixels pixels = readPixels(photo.header);
  if (!photo.grey && photo.extraBands == 0) {
    photo.rgb.assign(pixels.samples.get(), pixels.samples.get() + pixels.bytes);
  } else {
    split(pixels.samples.get(), photo);
  }
  return photo;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
