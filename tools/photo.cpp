#include "photo.h"

#include <fmt/format.h>

#include <climits>
#include <cstring>

#include "decode.h"
#include "failure.h"
#include "memory_limit.h"

namespace tool {
namespace {

using vips::VImage;

VImage load(const Bytes& file, Format format) {
  VipsBlob* blob = vips_blob_new(nullptr, file.data(), file.size());
  // A damaged file is refused whole: half a picture is not what anyone wants denoised.
  vips::VOption* options = VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR);
  VImage image;
  try {
    switch (format) {
      case Format::kPng:
        image = VImage::pngload_buffer(blob, options);
        break;
      case Format::kJpeg:
        image = VImage::jpegload_buffer(blob, options);
        break;
      case Format::kTiff:
        image = VImage::tiffload_buffer(blob, options);
        break;
      case Format::kWebp:
        image = VImage::webpload_buffer(blob, options);
        break;
      default:
        throw Failure(std::string(formatName(format)) + " is not a photograph format");
    }
  } catch (...) {
    vips_area_unref(VIPS_AREA(blob));
    throw;
  }
  vips_area_unref(VIPS_AREA(blob));
  return image;
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

// Splits pixels of colour bands and extra bands into the two buffers.
void split(const Photo& photo, const std::uint8_t* pixels, Bytes& rgb, Bytes& extra) {
  const std::size_t sample = static_cast<std::size_t>(photo.bytesPerSample());
  const std::size_t colour = (photo.grey ? 1 : 3) * sample, more = static_cast<std::size_t>(photo.extraBands) * sample;
  const std::size_t count = photo.pixels();
  rgb.resize(count * 3 * sample);
  extra.resize(count * more);
  std::uint8_t* to = rgb.data();
  for (std::size_t i = 0; i < count; ++i, pixels += colour + more, to += 3 * sample) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      std::memcpy(to + channel * sample, pixels + (photo.grey ? 0 : channel * sample), sample);
    }
    if (more > 0) std::memcpy(extra.data() + i * more, pixels + colour, more);
  }
}

}  // namespace

Photo decodePhoto(const Bytes& file, Format format) try {
  Photo photo;
  photo.format = format;
  const VImage image = load(file, format);
  photo.header = image;
  photo.width = image.width();
  photo.height = image.height();
  photo.bits = bitsOf(image);
  photo.grey = isGrey(image);
  photo.extraBands = image.bands() - (photo.grey ? 1 : 3);
  photo.metadata = std::make_shared<Metadata>(readMetadata(file, format, image));
  photo.lossyWebp = format == Format::kWebp && webpIsLossy(file);
  photo.pages = image.get_typeof("n-pages") != 0 ? image.get_int("n-pages") : 1;
  // denoise2 counts the samples of a picture in an int.
  if (photo.pixels() > INT_MAX / 3) {
    throw Failure(fmt::format("{} x {} pixels are too many (at most {} megapixels)", photo.width, photo.height,
                              INT_MAX / 3000000));
  }
  const std::size_t sample = static_cast<std::size_t>(photo.bytesPerSample());
  // Decoded, split, denoised and encoded copies; the tiles come on top but are small.
  requireMemory(photo.pixels() * sample * (3 * 3 + 2 * static_cast<std::size_t>(photo.extraBands)));
  const DecodedPixels pixels = readPixels(image);
  if (!photo.grey && photo.extraBands == 0) {
    photo.rgb.assign(pixels.samples.get(), pixels.samples.get() + pixels.bytes);
  } else {
    split(photo, pixels.samples.get(), photo.rgb, photo.extra);
  }
  return photo;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

void requireFits(const Photo& photo, Format format) {
  if (isHdr(format))
    throw Failure("a photograph cannot be written as high dynamic range; choose .png, .jpg, .tif or .webp");
  if (format != Format::kJpeg && format != Format::kWebp) return;
  if (photo.bits == 16) {
    throw Failure(
        fmt::format("{} holds 8 bits a sample and the picture has 16; choose .png or .tif", formatName(format)));
  }
  const int alpha = format == Format::kWebp ? 1 : 0;
  if (photo.extraBands > alpha) {
    throw Failure(fmt::format("{} cannot hold the picture's {}; choose .png or .tif", formatName(format),
                              photo.extraBands == 1 ? "alpha channel" : "extra channels"));
  }
  const int longest = format == Format::kWebp ? 16383 : 65535;
  if (std::max(photo.width, photo.height) > longest) {
    throw Failure(fmt::format("{} pictures are at most {} pixels wide and high; choose .png or .tif",
                              formatName(format), longest));
  }
}

vips::VImage assemble(const Photo& photo, const Bytes& rgb) {
  const std::size_t sample = static_cast<std::size_t>(photo.bytesPerSample());
  const std::size_t colour = (photo.grey ? 1 : 3) * sample, more = static_cast<std::size_t>(photo.extraBands) * sample;
  const std::size_t count = photo.pixels();
  Bytes pixels(count * (colour + more));
  std::uint8_t* to = pixels.data();
  const std::uint8_t* from = rgb.data();
  for (std::size_t i = 0; i < count; ++i, from += 3 * sample) {
    // Of a grey picture's three channels red is Y + Cr with Cr all but 0: the one that rounds least.
    std::memcpy(to, from, colour);
    to += colour;
    if (more > 0) std::memcpy(to, photo.extra.data() + i * more, more);
    to += more;
  }
  const VipsBandFormat type = photo.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR;
  const int bands = (photo.grey ? 1 : 3) + photo.extraBands;
  const VImage view = VImage::new_from_memory(pixels.data(), pixels.size(), photo.width, photo.height, bands, type);
  return view.copy(VImage::option()->set("interpretation", photo.header.interpretation())).copy_memory();
}

}  // namespace tool
