// What a file says about its picture beside the pixels: EXIF, XMP, IPTC, colour profile, resolution.
//
// Within JPEG, PNG, WebP and TIFF the file's own blocks move to the result byte for byte, so nothing is reworded or
// lost; between formats the four standard blocks are carried over.
#pragma once

#include <memory>
#include <optional>
#include <string>
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

// For a picture that was turned the way it is to be seen.
Metadata uprightMetadata(Metadata metadata);

// True of the formats whose decoder turns a picture the way it is to be seen; the tag that says how is void then.
inline bool isTurnedByDecoder(Format format) {
  return format == Format::kAvif || format == Format::kHeic || format == Format::kJpegXl;
}

// True when the file's pixels were coded with losses.
bool isLossy(const Bytes& file, Format format);

// The quality that a JPEG's quantisation tables come nearest to, as the IJG's library counts; none without tables.
std::optional<int> jpegQuality(const Bytes& file);

// What of a JPEG beside its picture is lost when that is coded anew, as a sentence goes on after "without"; empty:
// nothing.
std::string jpegLeftBehind(const Bytes& file);

}  // namespace tool::pictures
