#include "pictures/formats.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace tool::pictures {
namespace {

bool startsWith(const Bytes& bytes, std::size_t at, const char* signature, std::size_t length) {
  return bytes.size() >= at + length && std::memcmp(bytes.data() + at, signature, length) == 0;
}

struct Extension {
  const char* name;
  Format format;
};

constexpr Extension kExtensions[] = {
    {"png", Format::kPng},       {"jpg", Format::kJpeg},     {"jpeg", Format::kJpeg},   {"jpe", Format::kJpeg},
    {"tif", Format::kTiff},      {"tiff", Format::kTiff},    {"webp", Format::kWebp},   {"hdr", Format::kRadiance},
    {"rgbe", Format::kRadiance}, {"pic", Format::kRadiance}, {"exr", Format::kOpenExr},
};

}  // namespace

std::optional<Format> sniffFormat(const Bytes& bytes) {
  if (startsWith(bytes, 0, "\x89PNG\r\n\x1a\n", 8)) return Format::kPng;
  if (startsWith(bytes, 0, "\xff\xd8\xff", 3)) return Format::kJpeg;
  // Classic and big TIFF, either byte order.
  if (startsWith(bytes, 0, "II*\0", 4) || startsWith(bytes, 0, "MM\0*", 4) || startsWith(bytes, 0, "II+\0", 4) ||
      startsWith(bytes, 0, "MM\0+", 4)) {
    return Format::kTiff;
  }
  if (startsWith(bytes, 0, "RIFF", 4) && startsWith(bytes, 8, "WEBP", 4)) return Format::kWebp;
  if (startsWith(bytes, 0, "#?", 2)) return Format::kRadiance;
  if (startsWith(bytes, 0, "\x76\x2f\x31\x01", 4)) return Format::kOpenExr;
  return std::nullopt;
}

std::optional<Format> formatOfExtension(const std::string& extension) {
  std::string name = !extension.empty() && extension[0] == '.' ? extension.substr(1) : extension;
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const Extension& known : kExtensions) {
    if (name == known.name) return known.format;
  }
  return std::nullopt;
}

const char* formatName(Format format) {
  switch (format) {
    case Format::kPng:
      return "PNG";
    case Format::kJpeg:
      return "JPEG";
    case Format::kTiff:
      return "TIFF";
    case Format::kWebp:
      return "WebP";
    case Format::kRadiance:
      return "Radiance";
    case Format::kOpenExr:
      return "OpenEXR";
  }
  return "";
}

const char* extensionFor(Format format) {
  switch (format) {
    case Format::kPng:
      return ".png";
    case Format::kJpeg:
      return ".jpg";
    case Format::kTiff:
      return ".tif";
    case Format::kWebp:
      return ".webp";
    case Format::kRadiance:
    case Format::kOpenExr:
      return ".hdr";
  }
  return "";
}

}  // namespace tool::pictures
