#include <fmt/format.h>

#include <algorithm>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/libvips.h"
#include "pictures/photo.h"

namespace tool::pictures {
namespace {

using vips::VImage;

// An image over the samples, which stay the caller's.
VImage imageOf(const Photo& photo, const Bytes& samples) {
  const Coding& coding = photo.coding;
  VImage image =
      VImage::new_from_memory(const_cast<std::uint8_t*>(samples.data()), samples.size(), photo.width, photo.height,
                              photo.bands(), photo.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR)
          .copy(VImage::option()
                    ->set("interpretation", coding.interpretation)
                    ->set("xres", coding.xResolution)
                    ->set("yres", coding.yResolution));
  if (!coding.resolutionUnit.empty()) image.set(VIPS_META_RESOLUTION_UNIT, coding.resolutionUnit.c_str());
  return image;
}

VipsBlob* saveJpeg(const VImage& image, const Photo& photo, const SaveOptions& options) {
  return image.jpegsave_buffer(VImage::option()
                                   ->set("strip", true)
                                   ->set("Q", options.quality)
                                   ->set("optimize_coding", true)
                                   ->set("interlace", photo.coding.isInterlaced)
                                   // The chroma resolution of the original; full for pictures that had no other.
                                   ->set("subsample_mode", photo.coding.hasHalvedChroma ? VIPS_FOREIGN_SUBSAMPLE_ON
                                                                                        : VIPS_FOREIGN_SUBSAMPLE_OFF));
}

VipsBlob* saveWebp(const VImage& image, const Photo& photo, const SaveOptions& options) {
  const bool lossy = photo.format == Format::kJpeg || photo.coding.isLossyWebp;
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

Blob save(const VImage& image, const Photo& photo, Format format, const SaveOptions& options) {
  switch (format) {
    case Format::kPng:
      return Blob(image.pngsave_buffer(VImage::option()->set("strip", true)));
    case Format::kJpeg:
      return Blob(saveJpeg(image, photo, options));
    case Format::kWebp:
      return Blob(saveWebp(image, photo, options));
    case Format::kTiff:
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return Blob(saveTiff(image));
}

// As a copy, with which the blob goes.
Bytes bytesOf(Blob blob) {
  return blob.bytes();
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

Bytes encodePhoto(const Photo& photo, Bytes samples, Format format, const SaveOptions& options) try {
  requireFits(photo, format);
  Blob saved = save(imageOf(photo, samples), photo, format, options);
  samples = Bytes();
  Bytes encoded = bytesOf(std::move(saved));
  return withMetadata(std::move(encoded), format, *photo.metadata);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
