#include <cstring>

#include "decode.h"
#include "failure.h"
#include "metadata/metadata.h"
#include "photo.h"

namespace tool {
namespace {

using vips::VImage;

Bytes takeBlob(VipsBlob* blob) {
  const std::uint8_t* data = static_cast<const std::uint8_t*>(VIPS_AREA(blob)->data);
  Bytes bytes(data, data + VIPS_AREA(blob)->length);
  vips_area_unref(VIPS_AREA(blob));
  return bytes;
}

bool fieldIs(const VImage& image, const char* field, const char* value) {
  return image.get_typeof(field) == VIPS_TYPE_REF_STRING && std::strcmp(image.get_string(field), value) == 0;
}

VipsBlob* saveJpeg(const VImage& image, const Photo& photo, const SaveOptions& options) {
  // The chroma resolution of the original; full for pictures that had no other.
  const bool halved = fieldIs(photo.header, "jpeg-chroma-subsample", "4:2:0");
  return image.jpegsave_buffer(
      VImage::option()
          ->set("strip", true)
          ->set("Q", options.quality)
          ->set("optimize_coding", true)
          ->set("interlace", photo.header.get_typeof("interlaced") != 0)
          ->set("subsample_mode", halved ? VIPS_FOREIGN_SUBSAMPLE_ON : VIPS_FOREIGN_SUBSAMPLE_OFF));
}

VipsBlob* saveWebp(const VImage& image, const Photo& photo, const SaveOptions& options) {
  const bool lossy = photo.format == Format::kJpeg || photo.lossyWebp;
  return image.webpsave_buffer(VImage::option()
                                   ->set("strip", true)
                                   ->set("Q", options.quality)
                                   ->set("lossless", !lossy)
                                   ->set("smart_subsample", true));
}

VipsBlob* saveTiff(const VImage& image) {
  return image.tiffsave_buffer(VImage::option()
                                   ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
                                   ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL));
}

}  // namespace

Bytes encodePhoto(const Photo& photo, const Bytes& rgb, Format format, const SaveOptions& options) try {
  requireFits(photo, format);
  VImage image =
      assemble(photo, rgb).copy(VImage::option()->set("xres", photo.header.xres())->set("yres", photo.header.yres()));
  if (photo.header.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0) {
    image.set(VIPS_META_RESOLUTION_UNIT, photo.header.get_string(VIPS_META_RESOLUTION_UNIT));
  }
  Bytes encoded;
  switch (format) {
    case Format::kPng:
      encoded = takeBlob(image.pngsave_buffer(VImage::option()->set("strip", true)));
      break;
    case Format::kJpeg:
      encoded = takeBlob(saveJpeg(image, photo, options));
      break;
    case Format::kWebp:
      encoded = takeBlob(saveWebp(image, photo, options));
      break;
    case Format::kTiff:
      encoded = takeBlob(saveTiff(image));
      break;
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return withMetadata(encoded, format, *photo.metadata);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool
