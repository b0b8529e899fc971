// JPEG: marker segments between the start of the image and its first scan.
#include "pictures/metadata/jpeg_segments.h"

#include <algorithm>
#include <cstring>

#include "pictures/metadata/containers.h"

namespace tool::pictures {
namespace {

constexpr std::uint8_t kApp0 = 0xe0, kApp1 = 0xe1, kApp2 = 0xe2, kApp13 = 0xed, kApp14 = 0xee, kApp15 = 0xef;
constexpr std::uint8_t kComment = 0xfe, kStartOfScan = 0xda, kEndOfImage = 0xd9;
constexpr std::size_t kLargestPayload = 65533;

bool isMetadata(std::uint8_t marker) {
  return (marker >= kApp0 && marker <= kApp15) || marker == kComment;
}

// The Adobe segment says how the scans are coded, which stays true of luminance and chroma only. A multi-picture index
// points at pictures that do not move.
bool moves(const Bytes& file, const JpegSegment& segment) {
  if (!isMetadata(segment.marker)) return false;
  if (segment.marker == kApp14) {
    constexpr std::size_t kTransform = 4 + 11, kYCbCr = 1;
    return payloadStartsWith(file, segment, "Adobe", 5) && segment.begin + kTransform < segment.end &&
           file[segment.begin + kTransform] == kYCbCr;
  }
  return !(segment.marker == kApp2 && payloadStartsWith(file, segment, "MPF\0", 4));
}

void append(Bytes& to, const Bytes& more) {
  to.insert(to.end(), more.begin(), more.end());
}

Bytes segment(std::uint8_t marker, const Bytes& prefix, const std::uint8_t* data, std::size_t size) {
  const std::size_t length = 2 + prefix.size() + size;
  Bytes bytes = {0xff, marker, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)};
  append(bytes, prefix);
  bytes.insert(bytes.end(), data, data + size);
  return bytes;
}

Bytes prefixOf(const char* text, std::size_t size) {
  return Bytes(text, text + size);
}

// Blocks too big for a segment are left out; for profiles there is a way to spread them.
void appendIfItFits(Bytes& to, std::uint8_t marker, const Bytes& prefix, const Bytes& data) {
  if (!data.empty() && prefix.size() + data.size() <= kLargestPayload) {
    append(to, segment(marker, prefix, data.data(), data.size()));
  }
}

void appendProfile(Bytes& to, const Bytes& icc) {
  constexpr std::size_t kChunk = 65519;
  const std::size_t chunks = (icc.size() + kChunk - 1) / kChunk;
  if (chunks > 255) return;
  for (std::size_t i = 0; i < chunks; ++i) {
    Bytes prefix = prefixOf("ICC_PROFILE\0", 12);
    prefix.push_back(static_cast<std::uint8_t>(i + 1));
    prefix.push_back(static_cast<std::uint8_t>(chunks));
    append(to, segment(kApp2, prefix, icc.data() + i * kChunk, std::min(kChunk, icc.size() - i * kChunk)));
  }
}

}  // namespace

std::vector<JpegSegment> jpegSegments(const Bytes& file) {
  std::vector<JpegSegment> found;
  std::size_t at = 2;
  while (at + 4 <= file.size() && file[at] == 0xff) {
    const std::uint8_t marker = file[at + 1];
    if (marker == 0xff) {  // fill byte
      ++at;
      continue;
    }
    if (marker == kStartOfScan || marker == kEndOfImage) break;
    const std::size_t length = static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3];
    if (length < 2 || at + 2 + length > file.size()) break;
    found.push_back({marker, at, at + 2 + length});
    at += 2 + length;
  }
  return found;
}

bool payloadStartsWith(const Bytes& file, const JpegSegment& segment, const char* text, std::size_t length) {
  return segment.end - segment.begin >= 4 + length && std::memcmp(file.data() + segment.begin + 4, text, length) == 0;
}

std::vector<Bytes> jpegBlocks(const Bytes& file) {
  std::vector<Bytes> blocks;
  for (const JpegSegment& found : jpegSegments(file)) {
    if (moves(file, found)) {
      blocks.emplace_back(file.begin() + static_cast<std::ptrdiff_t>(found.begin),
                          file.begin() + static_cast<std::ptrdiff_t>(found.end));
    }
  }
  return blocks;
}

Bytes jpegWithMetadata(const Bytes& encoded, const Metadata& metadata) {
  const bool sameFormat = metadata.source == Format::kJpeg;
  Bytes result(encoded.begin(), encoded.begin() + 2);
  Bytes rest;
  for (const JpegSegment& found : jpegSegments(encoded)) {
    // The encoder's own JFIF segment carries the resolution of a picture that was no JPEG before.
    const bool jfif = found.marker == kApp0;
    if (isMetadata(found.marker) && found.marker != kApp14 && !(jfif && !sameFormat)) continue;
    Bytes& to = jfif ? result : rest;
    to.insert(to.end(), encoded.begin() + static_cast<std::ptrdiff_t>(found.begin),
              encoded.begin() + static_cast<std::ptrdiff_t>(found.end));
  }
  if (sameFormat) {
    for (const Bytes& block : metadata.blocks) append(result, block);
  } else {
    appendIfItFits(result, kApp1, prefixOf("Exif\0\0", 6), metadata.exif);
    appendIfItFits(result, kApp1, prefixOf("http://ns.adobe.com/xap/1.0/\0", 29), metadata.xmp);
    appendProfile(result, metadata.icc);
    if (!metadata.iptc.empty()) {
      appendIfItFits(result, kApp13, prefixOf("Photoshop 3.0\0", 14), photoshopBlockOfIptc(metadata.iptc));
    }
  }
  append(result, rest);
  const std::vector<JpegSegment> all = jpegSegments(encoded);
  const std::size_t scans = all.empty() ? 2 : all.back().end;
  result.insert(result.end(), encoded.begin() + static_cast<std::ptrdiff_t>(scans), encoded.end());
  return result;
}

}  // namespace tool::pictures
