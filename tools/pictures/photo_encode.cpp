#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/libvips.h"
#include "pictures/photo.h"

namespace tool::pictures {
namespace {

using vips::VImage;

// The file's bands with these colour samples in place of the photograph's own.
Bytes joined(const Photo& photo, const Bytes& rgb) {
  const std::size_t colour = photo.colourBytes(), more = photo.extraBytes();
  Bytes pixels(photo.pixels() * (colour + more));
  std::uint8_t* to = pixels.data();
  const std::uint8_t* from = rgb.data();
  for (std::size_t i = 0; i < photo.pixels(); ++i, from += 3 * photo.sampleBytes(), to += colour + more) {
    // Of a grey picture's three channels red is Y + Cr with Cr all but 0: the one that rounds least.
    std::memcpy(to, from, colour);
    if (more > 0) std::memcpy(to + colour, photo.extra.data() + i * more, more);
  }
  return pixels;
}

// An image in memory that refers to no other buffer.
VImage assemble(const Photo& photo, const Bytes& rgb) {
  Bytes pixels = joined(photo, rgb);
  const VImage view =
      VImage::new_from_memory(pixels.data(), pixels.size(), photo.width, photo.height, photo.layout().channels,
                              photo.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR);
  return view.copy(VImage::option()->set("interpretation", photo.header.interpretation())).copy_memory();
}

VImage withResolution(const VImage& image, const VImage& header) {
  VImage result = image.copy(VImage::option()->set("xres", header.xres())->set("yres", header.yres()));
  if (header.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0) {
    result.set(VIPS_META_RESOLUTION_UNIT, header.get_string(VIPS_META_RESOLUTION_UNIT));
  }
  return result;
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

Bytes save(const VImage& image, const Photo& photo, Format format, const SaveOptions& options) {
  switch (format) {
    case Format::kPng:
      return Blob(image.pngsave_buffer(VImage::option()->set("strip", true))).bytes();
    case Format::kJpeg:
      return Blob(saveJpeg(image, photo, options)).bytes();
    case Format::kWebp:
      return Blob(saveWebp(image, photo, options)).bytes();
    case Format::kTiff:
      return Blob(saveTiff(image)).bytes();
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return {};
}

void requireFewBits(const Photo& photo, Format format) {
  if (photo.bits == 16) {
    throw Failure(
        fmt::format("{} holds 8 bits a sample and the picture has 16; choose .png or .tif", formatName(format)));
  }
}

void requireFewBands(const Photo& photo, Format format) {
  const int alpha = format == Format::kWebp ? 1 : 0;
  if (photo.extraBands > alpha) {
    throw Failure(fmt::format("{} cannot hold the picture's {}; choose .png or .tif", formatName(format),
                              photo.extraBands == 1 ? "alpha channel" : "extra channels"));
  }
}

void requireShortEdges(const Photo& photo, Format format) {
  const int longest = format == Format::kWebp ? 16383 : 65535;
  if (std::max(photo.width, photo.height) > longest) {
    throw Failure(fmt::format("{} pictures are at most {} pixels wide and high; choose .png or .tif",
                              formatName(format), longest));
  }
}

}  // namespace

void requireFits(const Photo& photo, Format format) {
  if (isHdr(format))
    throw Failure("a photograph cannot be written as high dynamic range; choose .png, .jpg, .tif or .webp");
  if (format != Format::kJpeg && format != Format::kWebp) return;
  requireFewBits(photo, format);
  requireFewBands(photo, format);
  requireShortEdges(photo, format);
}

Bytes encodePhoto(const Photo& photo, const Bytes& rgb, Format format, const SaveOptions& options) try {
  requireFits(photo, format);
  const VImage image = withResolution(assemble(photo, rgb), photo.header);
  return withMetadata(save(image, photo, format, options), format, *photo.metadata);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
