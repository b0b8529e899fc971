#include "pictures/metadata/metadata.h"

#include <cstring>

#include "pictures/metadata/containers.h"

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
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return metadata;
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
    case Format::kRadiance:
    case Format::kOpenExr:
      break;
  }
  return encoded;
}

}  // namespace tool::pictures
