#include "pictures/metadata/metadata.h"

#include <algorithm>
#include <cstring>

#include "pictures/metadata/containers.h"
#include "pictures/metadata/tiff_directories.h"

namespace tool::pictures {
namespace {

Bytes blob(const vips::VImage& image, const char* field) {
  if (image.get_typeof(field) == 0) return {};
  std::size_t size = 0;
  const void* data = image.get_blob(field, &size);
  const std::uint8_t* bytes = static_cast<const std::uint8_t*>(data);
  return Bytes(bytes, bytes + size);
}

void dropExifPrefix(Bytes& exif) {
  if (exif.size() >= 6 && std::memcmp(exif.data(), "Exif\0\0", 6) == 0) exif.erase(exif.begin(), exif.begin() + 6);
}

// libvips gives the items of a HEIF file numbers, and XMP is known by what is in it.
Bytes heifXmp(const vips::VImage& image) {
  constexpr int kMostItems = 32;
  static constexpr char kMark[] = "<x:xmpmeta";
  for (int number = 0; number < kMostItems; ++number) {
    Bytes item = blob(image, ("heif-mime-" + std::to_string(number)).c_str());
    if (std::search(item.begin(), item.end(), kMark, kMark + sizeof kMark - 1) != item.end()) return item;
  }
  return {};
}

}  // namespace

Metadata readMetadata(const Bytes& file, Format format, const vips::VImage& opened) {
  Metadata metadata;
  metadata.source = format;
  metadata.exif = blob(opened, VIPS_META_EXIF_NAME);
  dropExifPrefix(metadata.exif);
  metadata.xmp = blob(opened, VIPS_META_XMP_NAME);
  metadata.icc = blob(opened, VIPS_META_ICC_NAME);
  switch (format) {
    case Format::kJpeg: {
      metadata.blocks = jpegBlocks(file);
      const Bytes photoshop = blob(opened, VIPS_META_IPTC_NAME);
      metadata.iptc = iptcOfPhotoshopBlock(photoshop.data(), photoshop.size());
      break;
    }
    case Format::kPng:
      metadata.blocks = pngBlocks(file);
      metadata.iptc = pngIptc(file);
      break;
    case Format::kWebp:
      metadata.blocks = webpBlocks(file);
      break;
    case Format::kTiff:
      readTiffMetadata(file, metadata);
      break;
    case Format::kAvif:
    case Format::kHeic:
      if (metadata.xmp.empty()) metadata.xmp = heifXmp(opened);
      break;
    case Format::kJpegXl:
      readJpegXlMetadata(file, metadata);
      break;
    case Format::kPnm:
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return isTurnedByDecoder(format) ? uprightMetadata(std::move(metadata)) : metadata;
}

Bytes withMetadata(Bytes encoded, Format format, const Metadata& metadata) {
  switch (format) {
    case Format::kJpeg:
      return jpegWithMetadata(encoded, metadata);
    case Format::kPng:
      return pngWithMetadata(encoded, metadata);
    case Format::kWebp:
      return webpWithMetadata(encoded, metadata);
    case Format::kTiff:
      return tiffWithMetadata(std::move(encoded), metadata);
    case Format::kJpegXl:
      return jpegXlWithMetadata(std::move(encoded), metadata);
    case Format::kAvif:
    case Format::kHeic:
    case Format::kPnm:
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return encoded;
}

Metadata uprightMetadata(Metadata metadata) {
  setOrientation(metadata.exif, 1);
  return metadata;
}

bool isLossy(const Bytes& file, Format format) {
  switch (format) {
    case Format::kJpeg:
    case Format::kAvif:
    case Format::kHeic:
      return true;
    case Format::kWebp:
      return webpIsLossy(file);
    case Format::kJpegXl:
      return jpegXlIsLossy(file);
    default:
      return false;
  }
}

}  // namespace tool::pictures
