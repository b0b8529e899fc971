// WebP: a RIFF file; with metadata its first chunk is a VP8X header that says what follows.
#include <cstring>

#include "pictures/metadata/containers.h"

namespace tool::pictures {
namespace {

constexpr std::size_t kRiffHeader = 12, kChunkHeader = 8;
constexpr std::uint8_t kHasProfile = 0x20, kHasAlpha = 0x10, kHasExif = 0x08, kHasXmp = 0x04;

std::size_t little32(const std::uint8_t* p) {
  return p[0] | static_cast<std::size_t>(p[1]) << 8 | static_cast<std::size_t>(p[2]) << 16 |
         static_cast<std::size_t>(p[3]) << 24;
}

// Calls visit(type, data, size) for each whole chunk.
template <typename Visit>
void forEachChunk(const Bytes& file, Visit visit) {
  std::size_t at = kRiffHeader;
  while (at + kChunkHeader <= file.size()) {
    const std::size_t size = little32(file.data() + at + 4);
    if (size > file.size() - at - kChunkHeader) return;
    visit(std::string(reinterpret_cast<const char*>(file.data()) + at, 4), file.data() + at + kChunkHeader, size);
    at += kChunkHeader + size + size % 2;
  }
}

Bytes chunk(const char* type, const std::uint8_t* data, std::size_t size) {
  Bytes bytes(type, type + 4);
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(size >> shift));
  bytes.insert(bytes.end(), data, data + size);
  if (size % 2 == 1) bytes.push_back(0);
  return bytes;
}

Bytes chunkIfAny(const char* type, const Bytes& data) {
  return data.empty() ? Bytes() : chunk(type, data.data(), data.size());
}

std::uint8_t flagOf(const Bytes& block) {
  if (std::memcmp(block.data(), "ICCP", 4) == 0) return kHasProfile;
  if (std::memcmp(block.data(), "EXIF", 4) == 0) return kHasExif;
  return kHasXmp;
}

struct Picture {
  Bytes chunks;             // alpha and pixels, as they are in the file
  std::uint8_t header[10];  // of the VP8X chunk: flags, three reserved, width - 1, height - 1 in 24 bits each
};

void setSize(Picture& picture, std::size_t width, std::size_t height) {
  for (std::size_t i = 0; i < 3; ++i) {
    picture.header[4 + i] = static_cast<std::uint8_t>((width - 1) >> (8 * i));
    picture.header[7 + i] = static_cast<std::uint8_t>((height - 1) >> (8 * i));
  }
}

Picture pictureOf(const Bytes& encoded) {
  Picture picture{};
  bool extended = false;
  forEachChunk(encoded, [&](const std::string& type, const std::uint8_t* data, std::size_t size) {
    if (type == "VP8X" && size >= 10) {
      std::memcpy(picture.header, data, 10);
      picture.header[0] &= kHasAlpha;
      extended = true;
      return;
    }
    if (type != "VP8 " && type != "VP8L" && type != "ALPH") return;
    const Bytes whole = chunk(type.c_str(), data, size);
    picture.chunks.insert(picture.chunks.end(), whole.begin(), whole.end());
    if (extended || type == "ALPH") return;
    if (type == "VP8 " && size >= 10) {
      setSize(picture, (data[6] | data[7] << 8) & 0x3fff, (data[8] | data[9] << 8) & 0x3fff);
    } else if (type == "VP8L" && size >= 5) {
      const std::size_t bits = little32(data + 1);
      setSize(picture, (bits & 0x3fff) + 1, (bits >> 14 & 0x3fff) + 1);
      if ((bits >> 28 & 1) != 0) picture.header[0] |= kHasAlpha;
    }
  });
  return picture;
}

}  // namespace

bool webpIsLossy(const Bytes& file) {
  bool lossy = false;
  forEachChunk(file,
               [&](const std::string& type, const std::uint8_t*, std::size_t) { lossy = lossy || type == "VP8 "; });
  return lossy;
}

std::vector<Bytes> webpBlocks(const Bytes& file) {
  std::vector<Bytes> blocks;
  forEachChunk(file, [&](const std::string& type, const std::uint8_t* data, std::size_t size) {
    if (type == "ICCP" || type == "EXIF" || type == "XMP ") blocks.push_back(chunk(type.c_str(), data, size));
  });
  return blocks;
}

Bytes webpWithMetadata(const Bytes& encoded, const Metadata& metadata) {
  std::vector<Bytes> blocks = metadata.blocks;
  if (metadata.source != Format::kWebp) {
    blocks = {chunkIfAny("ICCP", metadata.icc), chunkIfAny("EXIF", metadata.exif), chunkIfAny("XMP ", metadata.xmp)};
  }
  Picture picture = pictureOf(encoded);
  Bytes before, after;
  for (const Bytes& block : blocks) {
    if (block.empty()) continue;
    picture.header[0] |= flagOf(block);
    Bytes& to = flagOf(block) == kHasProfile ? before : after;
    to.insert(to.end(), block.begin(), block.end());
  }
  if (before.empty() && after.empty()) return encoded;
  Bytes body = {'W', 'E', 'B', 'P'};
  for (const Bytes& part : {chunk("VP8X", picture.header, 10), before, picture.chunks, after}) {
    body.insert(body.end(), part.begin(), part.end());
  }
  return chunk("RIFF", body.data(), body.size());
}

}  // namespace tool::pictures
