#include <fmt/format.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/libvips.h"
#include "pictures/memory_limit.h"
#include "pictures/photo.h"

namespace tool::pictures {
namespace {

using vips::VImage;
using vips::VOption;

struct Loader {
  const char* nickname;
  VImage (*load)(VipsBlob* file, VOption* options);
};

Loader loaderOf(Format format) {
  switch (format) {
    case Format::kPng:
      return {"pngload_buffer", VImage::pngload_buffer};
    case Format::kJpeg:
      return {"jpegload_buffer", VImage::jpegload_buffer};
    case Format::kTiff:
      return {"tiffload_buffer", VImage::tiffload_buffer};
    case Format::kWebp:
      return {"webpload_buffer", VImage::webpload_buffer};
    case Format::kAvif:
    case Format::kHeic:
      return {"heifload_buffer", VImage::heifload_buffer};
    case Format::kJpegXl:
      return {"jxlload_buffer", VImage::jxlload_buffer};
    case Format::kPnm:
      return {"ppmload_source", [](VipsBlob* file, VOption* options) {
                return VImage::ppmload_source(vips::VSource::new_from_blob(file), options);
              }};
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
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

int numberIn(const VImage& image, const char* field, int otherwise) {
  return image.get_typeof(field) != 0 ? image.get_int(field) : otherwise;
}

std::string textIn(const VImage& image, const char* field) {
  return image.get_typeof(field) == VIPS_TYPE_REF_STRING ? image.get_string(field) : "";
}

// All of a photograph but its samples.
Photo describe(const VImage& image, const Bytes& file, Format format) {
  Photo photo;
  photo.format = format;
  photo.width = image.width();
  photo.height = image.height();
  photo.bits = bitsOf(image);
  photo.grey = hasOneColour(image);
  photo.extraBands = image.bands() - photo.colourBands();
  photo.pages = numberIn(image, "n-pages", 1);
  photo.coding = codingOf(image);
  photo.coding.isLossy = isLossy(file, format);
  if (format == Format::kJpeg) {
    photo.coding.jpegQuality = jpegQuality(file);
    photo.leftBehind = jpegLeftBehind(file);
  }
  photo.metadata = std::make_shared<Metadata>(readMetadata(file, format, image));
  if (isTurnedByDecoder(format)) photo.coding.orientation = 1;
  return photo;
}

// The samples as they are and as they will be; what coding and tiles take is less than the file that is let go.
void requireMemoryFor(const Photo& photo) {
  requireMemory(2 * photo.pixels() * static_cast<std::size_t>(photo.bands() * photo.bits / 8));
}

// The largest sample by the header of a PNM file: the third number in it, which bitmaps do not have.
int pnmWhite(const Bytes& file) {
  if (file[1] == '1' || file[1] == '4') return 255;
  const std::string head(file.begin() + 2,
                         file.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(file.size(), 4096)));
  std::istringstream words(std::regex_replace(head, std::regex("#[^\n]*"), ""));
  int width = 0, height = 0, white = 0;
  words >> width >> height >> white;
  if (white < 1 || white > 65535) throw Failure("the header names no scale");
  return white;
}

// The samples of a PNM file are of any scale, which its header names last.
VImage onFullScale(const VImage& image, const Bytes& file, Format format) {
  if (format != Format::kPnm || image.format() == VIPS_FORMAT_FLOAT) return image;
  const int white = pnmWhite(file), full = image.format() == VIPS_FORMAT_UCHAR ? 255 : 65535;
  if (white == full) return image;
  return (image * (static_cast<double>(full) / white))
      .rint()
      .cast(image.format())
      .copy(VImage::option()->set("interpretation", image.interpretation()));
}

}  // namespace

VImage openPicture(const Bytes& file, Format format) {
  const Loader loader = loaderOf(format);
  requireOperation(loader.nickname, formatName(format));
  const Blob blob = blobOver(file);
  // A damaged file is refused whole: half a picture is not what anyone wants denoised.
  return loader.load(blob.get(),
                     VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR));
}

bool hasOneColour(const VImage& image) {
  switch (image.interpretation()) {
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
      return true;
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB:
    case VIPS_INTERPRETATION_RGB16:
    case VIPS_INTERPRETATION_scRGB:
      if (image.bands() >= 3) return false;
      [[fallthrough]];
    default:
      throw Failure(Kind::kUnsupported,
                    fmt::format("{} pictures with {} channels are not supported (only grey and RGB are)",
                                vips_enum_nick(VIPS_TYPE_INTERPRETATION, image.interpretation()), image.bands()));
  }
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
  coding.storedBits = numberIn(image, "heif-bitdepth", image.format() == VIPS_FORMAT_UCHAR ? 8 : 16);
  return coding;
}

Photo decodePhoto(const Bytes& file, Format format) try {
  const VImage image = onFullScale(openPicture(file, format), file, format);
  Photo photo = describe(image, file, format);
  requireMemoryFor(photo);
  photo.decoded = readPixels(image);
  return photo;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
