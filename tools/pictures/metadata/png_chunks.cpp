// PNG: chunks of length, type, data and check sum.
#include <zlib.h>

#include <cctype>
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

// PNG has no place of its own for IPTC; this is where every reader of it looks, and every writer puts it.
constexpr char kIptcKey[] = "Raw profile type iptc";

Bytes iptcChunk(const Bytes& iptc) {
  const Bytes block = photoshopBlockOfIptc(iptc);
  const std::string count = std::to_string(block.size());
  std::string text =
      std::string(kIptcKey) + '\0' + "\niptc\n" + std::string(8 - std::min<std::size_t>(8, count.size()), ' ') + count;
  constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < block.size(); ++i) {
    if (i % 36 == 0) text += '\n';
    text += kDigits[block[i] >> 4];
    text += kDigits[block[i] & 15];
  }
  text += '\n';
  return chunk("tEXt", Bytes(text.begin(), text.end()));
}

// What a deflated text holds, as far as it is of a size that makes sense.
std::string inflated(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = std::size_t{4} << 20;
  std::string text(kMost, '\0');
  uLongf length = kMost;
  const int result = uncompress(reinterpret_cast<Bytef*>(text.data()), &length, data, static_cast<uLong>(size));
  text.resize(result == Z_OK ? length : 0);
  return text;
}

// The words of a text chunk with a key; empty for another.
std::string textUnder(const char* key, const std::string& type, const std::uint8_t* data, std::size_t size) {
  const std::size_t head = std::strlen(key) + 1;
  if ((type != "tEXt" && type != "zTXt") || size <= head || std::memcmp(data, key, head) != 0) return "";
  if (type == "zTXt") return inflated(data + head + 1, size - head - 1);
  return std::string(data + head, data + size);
}

int digitOf(char c) {
  const char* const all = "0123456789abcdef";
  const char* const found = c == '\0' ? nullptr : std::strchr(all, std::tolower(static_cast<unsigned char>(c)));
  return found == nullptr ? -1 : static_cast<int>(found - all);
}

// Behind the profile's name and its length in lines of their own come digits and white space.
Bytes bytesOfProfile(const std::string& text) {
  const std::size_t name = text.find_first_not_of('\n'), length = text.find('\n', name);
  const std::size_t digits = length == std::string::npos ? length : text.find('\n', length + 1);
  Bytes bytes;
  if (digits == std::string::npos) return bytes;
  int high = -1;
  for (const char c : text.substr(digits)) {
    const int digit = digitOf(c);
    if (digit < 0) continue;
    if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
    high = high >= 0 ? -1 : digit;
  }
  return bytes;
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

Bytes pngIptc(const Bytes& file) {
  Bytes iptc;
  forEachChunk(file, [&](const std::string& type, std::size_t begin, std::size_t end) {
    const std::string text = textUnder(kIptcKey, type, file.data() + begin + 8, end - begin - kFrame);
    const Bytes block = bytesOfProfile(text);
    if (!block.empty()) iptc = iptcOfPhotoshopBlock(block.data(), block.size());
  });
  return iptc;
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
