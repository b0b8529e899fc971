// What a file says about its picture beside the pixels: EXIF, XMP, IPTC, colour profile, resolution.
//
// Within one format the file's own blocks move to the result byte for byte, so nothing is reworded or lost; between
// formats the four standard blocks are carried over.
#pragma once

#include <memory>
#include <vector>
#include <vips/vips8>

#include "pictures/bytes.h"
#include "pictures/formats.h"

namespace tool::pictures {

struct TiffTags;

struct Metadata {
  Format source = Format::kPng;
  Bytes exif;  // a TIFF structure, without the "Exif" prefix that JPEG puts in front
  Bytes xmp;
  Bytes iptc;  // IPTC-IIM records
  Bytes icc;
  std::vector<Bytes> blocks;             // JPEG segments, PNG chunks or WebP chunks that move unchanged
  std::shared_ptr<const TiffTags> tiff;  // of a TIFF file that Exiv2 can read
};

// Makes the library of tags ready for several threads. Call once, before there are others.
void startTags();

// opened is the same file as libvips opened it.
Metadata readMetadata(const Bytes& file, Format format, const vips::VImage& opened);

// The encoded picture (written without metadata) with the metadata put in.
Bytes withMetadata(Bytes encoded, Format format, const Metadata& metadata);

// True when a lossy WebP file was given.
bool webpIsLossy(const Bytes& file);

}  // namespace tool::pictures
