#include <fmt/format.h>

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
      throw Failure(Kind::kUnsupported,
                    fmt::format("samples of type {} are not supported (only unsigned 8 and 16 bits are)",
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
      throw Failure(Kind::kUnsupported,
                    fmt::format("{} pictures with {} channels are not supported (only grey and RGB are)",
                                vips_enum_nick(VIPS_TYPE_INTERPRETATION, image.interpretation()), image.bands()));
  }
}

int numberIn(const VImage& image, const char* field, int otherwise) {
  return image.get_typeof(field) != 0 ? image.get_int(field) : otherwise;
}

std::string textIn(const VImage& image, const char* field) {
  return image.get_typeof(field) == VIPS_TYPE_REF_STRING ? image.get_string(field) : "";
}

Coding codingOf(const VImage& image) {
  Coding coding;
  coding.interpretation = image.interpretation();
  coding.xResolution = image.xres();
  coding.yResolution = image.yres();
  coding.resolutionUnit = textIn(image, VIPS_META_RESOLUTION_UNIT);
  coding.orientation = numberIn(image, VIPS_META_ORIENTATION, 1);
  coding.isInterlaced = image.get_typeof("interlaced") != 0;
  coding.hasHalvedChroma = textIn(image, "jpeg-chroma-subsample") == "4:2:0";
  return coding;
}

// All of a photograph but its samples.
Photo describe(const VImage& image, const Bytes& file, Format format) {
  Photo photo;
  photo.format = format;
  photo.width = image.width();
  photo.height = image.height();
  photo.bits = bitsOf(image);
  photo.grey = isGrey(image);
  photo.extraBands = image.bands() - photo.colourBands();
  photo.pages = numberIn(image, "n-pages", 1);
  photo.coding = codingOf(image);
  photo.coding.isLossyWebp = format == Format::kWebp && webpIsLossy(file);
  photo.metadata = std::make_shared<Metadata>(readMetadata(file, format, image));
  return photo;
}

// The samples as they are and as they will be; what coding and tiles take is less than the file that is let go.
void requireMemoryFor(const Photo& photo) {
  requireMemory(2 * photo.pixels() * static_cast<std::size_t>(photo.bands() * photo.bits / 8));
}

}  // namespace

Photo decodePhoto(const Bytes& file, Format format) try {
  const VImage image = load(file, format);
  Photo photo = describe(image, file, format);
  requireMemoryFor(photo);
  photo.decoded = readPixels(image);
  return photo;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
