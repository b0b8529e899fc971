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

constexpr int kQuality = 95;

// The tables of a JPEG mean nothing to another codec.
int qualityOf(const Photo& photo, const SaveOptions& options, bool asJpeg) {
  if (options.quality) return *options.quality;
  return asJpeg ? photo.coding.jpegQuality.value_or(kQuality) : kQuality;
}

VipsForeignSubsample subsamplingOf(const Photo& photo) {
  // The chroma resolution of the original; full for pictures that had no other.
  return photo.coding.hasHalvedChroma ? VIPS_FOREIGN_SUBSAMPLE_ON : VIPS_FOREIGN_SUBSAMPLE_OFF;
}

VipsBlob* saveJpeg(const VImage& image, const Photo& photo, const SaveOptions& options) {
  return image.jpegsave_buffer(VImage::option()
                                   ->set("strip", true)
                                   ->set("Q", qualityOf(photo, options, true))
                                   ->set("optimize_coding", true)
                                   ->set("interlace", photo.coding.isInterlaced)
                                   ->set("subsample_mode", subsamplingOf(photo)));
}

VipsBlob* saveWebp(const VImage& image, const Photo& photo, const SaveOptions& options) {
  return image.webpsave_buffer(VImage::option()
                                   ->set("strip", true)
                                   ->set("Q", qualityOf(photo, options, false))
                                   ->set("lossless", !photo.coding.isLossy)
                                   ->set("smart_subsample", true));
}

VipsBlob* saveTiff(const VImage& image) {
  return image.tiffsave_buffer(VImage::option()
                                   ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
                                   ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL));
}

// What these two hold beside the pixels is written with them.
VImage withBlocks(const VImage& image, const Metadata& metadata, bool profileOnly) {
  VImage tagged = image.copy();
  const auto set = [&](const char* field, const Bytes& block) {
    if (!block.empty()) tagged.set(field, nullptr, const_cast<std::uint8_t*>(block.data()), block.size());
  };
  set(VIPS_META_ICC_NAME, metadata.icc);
  if (profileOnly) return tagged;
  set(VIPS_META_EXIF_NAME, metadata.exif);
  set(VIPS_META_XMP_NAME, metadata.xmp);
  return tagged;
}

// Rounded to the bits that are stored, which the encoder would cut off.
VImage roundedTo(int bits, const VImage& image) {
  if (image.format() == VIPS_FORMAT_UCHAR) return image;
  return (image + (bits < 16 ? 1 << (15 - bits) : 0))
      .cast(VIPS_FORMAT_USHORT)
      .copy(VImage::option()->set("interpretation", image.interpretation()));
}

VipsBlob* saveAvif(const VImage& image, const Photo& photo, const Metadata& metadata, const SaveOptions& options) {
  const bool bare = metadata.exif.empty() && metadata.xmp.empty() && metadata.icc.empty();
  return withBlocks(roundedTo(photo.coding.storedBits, image), metadata, false)
      .heifsave_buffer(VImage::option()
                           ->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_AV1)
                           // The default, 4, takes seven times as long for a file of the same size.
                           ->set("effort", 3)
                           ->set("strip", bare)
                           ->set("Q", qualityOf(photo, options, false))
                           ->set("bitdepth", photo.coding.storedBits)
                           ->set("subsample_mode", subsamplingOf(photo)));
}

VipsBlob* saveJpegXl(const VImage& image, const Photo& photo, const Metadata& metadata, const SaveOptions& options) {
  return withBlocks(image, metadata, true)
      .jxlsave_buffer(
          VImage::option()->set("Q", qualityOf(photo, options, false))->set("lossless", !photo.coding.isLossy));
}

Blob save(const VImage& image, const Photo& photo, const Metadata& metadata, Format format,
          const SaveOptions& options) {
  switch (format) {
    case Format::kPng:
      return Blob(image.pngsave_buffer(VImage::option()->set("strip", true)));
    case Format::kJpeg:
      return Blob(saveJpeg(image, photo, options));
    case Format::kWebp:
      return Blob(saveWebp(image, photo, options));
    case Format::kAvif:
      requireOperation("heifsave_buffer", formatName(format));
      return Blob(saveAvif(image, photo, metadata, options));
    case Format::kJpegXl:
      requireOperation("jxlsave_buffer", formatName(format));
      return Blob(saveJpegXl(image, photo, metadata, options));
    case Format::kTiff:
    case Format::kHeic:
    case Format::kPnm:
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

struct Limits {
  int bits, extraBands, edge;
};

Limits limitsOf(Format format) {
  constexpr int kNone = 1 << 30;
  switch (format) {
    case Format::kJpeg:
      return {8, 0, 65535};
    case Format::kWebp:
      return {8, 1, 16383};
    case Format::kAvif:
      return {12, 1, 65535};
    case Format::kJpegXl:
      return {16, 1, kNone};
    default:
      return {16, kNone, kNone};
  }
}

void requireWithin(const Limits& limits, const Photo& photo, const char* name) {
  if (photo.coding.storedBits > limits.bits) {
    throw Failure(fmt::format("{} holds {} bits a sample{} and the picture has {}; choose .png or .tif", name,
                              limits.bits, limits.bits > 8 ? " at most" : "", photo.coding.storedBits));
  }
  if (photo.extraBands > limits.extraBands) {
    throw Failure(fmt::format("{} cannot hold the picture's {}; choose .png or .tif", name,
                              photo.extraBands == 1 ? "alpha channel" : "extra channels"));
  }
  if (std::max(photo.width, photo.height) > limits.edge) {
    throw Failure(
        fmt::format("{} pictures are at most {} pixels wide and high; choose .png or .tif", name, limits.edge));
  }
}

// Formats whose readers take how a picture is to be turned from elsewhere than EXIF: it is turned before.
bool needsUpright(Format format) {
  return format == Format::kAvif || format == Format::kJpegXl;
}

VImage turned(VImage image, int orientation) {
  image = image.copy();
  image.set(VIPS_META_ORIENTATION, orientation);
  return image.autorot();
}

}  // namespace

void requireFits(const Photo& photo, Format format) {
  if (isHdr(format)) throw Failure("a photograph cannot be written as high dynamic range; choose " + writtenWords());
  requireWithin(limitsOf(format), photo, formatName(format));
}

Bytes encodePhoto(const Photo& photo, Bytes samples, Format format, const SaveOptions& options) try {
  requireFits(photo, format);
  const bool turns = needsUpright(format) && photo.coding.orientation != 1;
  const Metadata metadata = turns ? uprightMetadata(*photo.metadata) : *photo.metadata;
  VImage image = imageOf(photo, samples);
  if (turns) image = turned(image, photo.coding.orientation);
  Blob saved = save(image, photo, metadata, format, options);
  samples = Bytes();
  Bytes encoded = bytesOf(std::move(saved));
  return withMetadata(std::move(encoded), format, metadata);
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
