// PNG: chunks of length, type, data and check sum.
#include <zlib.h>

#include <cstring>
#include <set>
#include <string>

#include "pictures/metadata/containers.h"

namespace tool::pictures {
namespace {

constexpr std::size_t kSignature = 8, kFrame = 12;  // length, type and check sum around the data
constexpr std::size_t kColourType = kSignature + 8 + 9;

std::uint32_t big32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
         static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

void appendBig32(Bytes& to, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) to.push_back(static_cast<std::uint8_t>(value >> shift));
}

// Calls visit(type, begin, end) for each whole chunk.
template <typename Visit>
void forEachChunk(const Bytes& file, Visit visit) {
  std::size_t at = kSignature;
  while (at + kFrame <= file.size()) {
    const std::size_t length = big32(file.data() + at);
    if (length > file.size() - at - kFrame) return;
    visit(std::string(reinterpret_cast<const char*>(file.data()) + at + 4, 4), at, at + kFrame + length);
    at += kFrame + length;
  }
}

bool isOneOf(const std::string& type, const char* list) {
  return std::strstr(list, type.c_str()) != nullptr;
}

Bytes chunk(const char* type, const Bytes& data) {
  Bytes bytes;
  appendBig32(bytes, static_cast<std::uint32_t>(data.size()));
  bytes.insert(bytes.end(), type, type + 4);
  bytes.insert(bytes.end(), data.begin(), data.end());
  appendBig32(bytes, static_cast<std::uint32_t>(crc32(0, bytes.data() + 4, static_cast<uInt>(data.size() + 4))));
  return bytes;
}

void appendText(Bytes& to, const char* text, std::size_t size) {
  to.insert(to.end(), text, text + size);
}

Bytes profileChunk(const Bytes& icc) {
  Bytes data;
  appendText(data, "icc\0\0", 5);  // name, end, compression method
  uLongf size = compressBound(static_cast<uLong>(icc.size()));
  const std::size_t head = data.size();
  data.resize(head + size);
  if (compress(data.data() + head, &size, icc.data(), static_cast<uLong>(icc.size())) != Z_OK) return {};
  data.resize(head + size);
  return chunk("iCCP", data);
}

Bytes xmpChunk(const Bytes& xmp) {
  Bytes data;
  appendText(data, "XML:com.adobe.xmp\0\0\0\0\0", 22);  // not compressed, no language, no translated keyword
  data.insert(data.end(), xmp.begin(), xmp.end());
  return chunk("iTXt", data);
}

// PNG has no place of its own for IPTC; this is where every reader of it looks.
Bytes iptcChunk(const Bytes& iptc) {
  const Bytes block = photoshopBlockOfIptc(iptc);
  const std::string count = std::to_string(block.size());
  std::string text = std::string("Raw profile type iptc") + '\0' + "\niptc\n" +
                     std::string(8 - std::min<std::size_t>(8, count.size()), ' ') + count;
  constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < block.size(); ++i) {
    if (i % 36 == 0) text += '\n';
    text += kDigits[block[i] >> 4];
    text += kDigits[block[i] & 15];
  }
  text += '\n';
  return chunk("tEXt", Bytes(text.begin(), text.end()));
}

std::vector<Bytes> blocksFromOtherFormats(const Metadata& metadata) {
  std::vector<Bytes> blocks;
  if (!metadata.icc.empty()) blocks.push_back(profileChunk(metadata.icc));
  if (!metadata.exif.empty()) blocks.push_back(chunk("eXIf", metadata.exif));
  if (!metadata.xmp.empty()) blocks.push_back(xmpChunk(metadata.xmp));
  if (!metadata.iptc.empty()) blocks.push_back(iptcChunk(metadata.iptc));
  return blocks;
}

}  // namespace

std::vector<Bytes> pngBlocks(const Bytes& file) {
  std::vector<Bytes> blocks;
  std::set<std::string> seen;
  const bool palette = file.size() > kColourType && file[kColourType] == 3;
  forEachChunk(file, [&](const std::string& type, std::size_t begin, std::size_t end) {
    // Only texts may come more than once, and some writers do not know.
    if (!isOneOf(type, "iTXt tEXt zTXt") && !seen.insert(type).second) return;
    // A palette's background and significant bits mean nothing once the picture is in full colour.
    if (isOneOf(type, "cHRM gAMA iCCP sRGB cICP mDCV cLLI pHYs oFFs pCAL sCAL eXIf iTXt tEXt zTXt tIME") ||
        (!palette && isOneOf(type, "bKGD sBIT"))) {
      blocks.emplace_back(file.begin() + static_cast<std::ptrdiff_t>(begin),
                          file.begin() + static_cast<std::ptrdiff_t>(end));
    }
  });
  return blocks;
}

Bytes pngWithMetadata(const Bytes& encoded, const Metadata& metadata) {
  const bool sameFormat = metadata.source == Format::kPng;
  const std::vector<Bytes> blocks = sameFormat ? metadata.blocks : blocksFromOtherFormats(metadata);
  Bytes result(encoded.begin(), encoded.begin() + kSignature);
  forEachChunk(encoded, [&](const std::string& type, std::size_t begin, std::size_t end) {
    const bool critical = (type[0] & 0x20) == 0;
    if (critical || type == "tRNS" || (type == "pHYs" && !sameFormat)) {
      result.insert(result.end(), encoded.begin() + static_cast<std::ptrdiff_t>(begin),
                    encoded.begin() + static_cast<std::ptrdiff_t>(end));
    }
    if (type == "IHDR") {
      for (const Bytes& block : blocks) result.insert(result.end(), block.begin(), block.end());
    }
  });
  return result;
}

}  // namespace tool::pictures
