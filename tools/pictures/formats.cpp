#include "pictures/formats.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace tool::pictures {
namespace {

struct Kind {
  Format format;
  const char* name;
  Format result;
  const char* extensions[5];  // the first is that of results
};

constexpr Kind kKinds[] = {
    {Format::kPng, "PNG", Format::kPng, {"png"}},
    {Format::kJpeg, "JPEG", Format::kJpeg, {"jpg", "jpeg", "jpe", "jfif"}},
    {Format::kTiff, "TIFF", Format::kTiff, {"tif", "tiff"}},
    {Format::kWebp, "WebP", Format::kWebp, {"webp"}},
    {Format::kAvif, "AVIF", Format::kAvif, {"avif"}},
    {Format::kHeic, "HEIC", Format::kJpeg, {"heic", "heif", "hif"}},
    {Format::kJpegXl, "JPEG XL", Format::kJpegXl, {"jxl"}},
    {Format::kPnm, "PNM", Format::kTiff, {"ppm", "pgm", "pbm", "pnm", "pfm"}},
    {Format::kRadiance, "Radiance", Format::kRadiance, {"hdr", "rgbe", "pic"}},
    {Format::kOpenExr, "OpenEXR", Format::kOpenExr, {"exr"}},
};

const Kind& kindOf(Format format) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& kind) { return kind.format == format; });
}

bool startsWith(const Bytes& bytes, std::size_t at, const char* signature, std::size_t length) {
  return bytes.size() >= at + length && std::memcmp(bytes.data() + at, signature, length) == 0;
}

// Classic and big TIFF, either byte order.
bool isTiff(const Bytes& bytes) {
  return startsWith(bytes, 0, "II*\0", 4) || startsWith(bytes, 0, "MM\0*", 4) || startsWith(bytes, 0, "II+\0", 4) ||
         startsWith(bytes, 0, "MM\0+", 4);
}

bool isJpegXl(const Bytes& bytes) {
  return startsWith(bytes, 0, "\xff\x0a", 2) || startsWith(bytes, 0, "\0\0\0\x0cJXL \r\n\x87\n", 12);
}

bool isPnm(const Bytes& bytes) {
  return bytes.size() > 2 && bytes[0] == 'P' && std::strchr("123456Ff", bytes[1]) != nullptr && bytes[1] != 0 &&
         std::isspace(bytes[2]) != 0;
}

// Of the brands in the first box, the major one and those it is compatible with, AVIF's own name the codec; the others
// are of HEVC, or leave it open.
std::optional<Format> heifFormat(const Bytes& bytes) {
  if (!startsWith(bytes, 4, "ftyp", 4)) return std::nullopt;
  const std::size_t box = std::min<std::size_t>(bytes.size(), (std::size_t{bytes[2]} << 8 | bytes[3]));
  std::optional<Format> found;
  for (std::size_t at = 8; at + 4 <= box; at += 4) {
    if (startsWith(bytes, at, "avif", 4) || startsWith(bytes, at, "avis", 4)) return Format::kAvif;
    for (const char* brand : {"heic", "heix", "heim", "heis", "hevc", "mif1", "msf1"}) {
      if (startsWith(bytes, at, brand, 4)) found = Format::kHeic;
    }
  }
  return found;
}

}  // namespace

std::optional<Format> sniffFormat(const Bytes& bytes) {
  if (startsWith(bytes, 0, "\x89PNG\r\n\x1a\n", 8)) return Format::kPng;
  if (startsWith(bytes, 0, "\xff\xd8\xff", 3)) return Format::kJpeg;
  if (isTiff(bytes)) return Format::kTiff;
  if (startsWith(bytes, 0, "RIFF", 4) && startsWith(bytes, 8, "WEBP", 4)) return Format::kWebp;
  if (isJpegXl(bytes)) return Format::kJpegXl;
  if (isPnm(bytes)) return Format::kPnm;
  if (startsWith(bytes, 0, "#?", 2)) return Format::kRadiance;
  if (startsWith(bytes, 0, "\x76\x2f\x31\x01", 4)) return Format::kOpenExr;
  return heifFormat(bytes);
}

std::optional<Format> formatOfExtension(const std::string& extension) {
  std::string name = !extension.empty() && extension[0] == '.' ? extension.substr(1) : extension;
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const Kind& kind : kKinds) {
    for (const char* known : kind.extensions) {
      if (known != nullptr && name == known) return kind.format;
    }
  }
  return std::nullopt;
}

const char* formatName(Format format) {
  return kindOf(format).name;
}

std::string formatNames() {
  std::string names;
  for (const Kind& kind : kKinds)
    names += (names.empty() ? "" : &kind == std::end(kKinds) - 1 ? " or " : ", ") + std::string(kind.name);
  return names;
}

std::string writtenWords() {
  std::string words;
  for (const Kind& kind : kKinds) {
    if (kind.result != kind.format) continue;
    words += (words.empty() ? "" : &kind == std::end(kKinds) - 1 ? " or " : ", ") + std::string(kind.extensions[0]);
  }
  return words;
}

Format resultFormat(Format input) {
  return kindOf(input).result;
}

std::string extensionFor(Format format) {
  return std::string(".") + kindOf(format).extensions[0];
}

}  // namespace tool::pictures
