// The file formats that veskaro-nr reads and writes: recognised by content when read, by name when written.
#pragma once

#include <optional>
#include <string>

#include "pictures/bytes.h"

namespace tool::pictures {

enum class Format { kPng, kJpeg, kTiff, kWebp, kRadiance, kOpenExr };

// The format whose signature the bytes begin with.
std::optional<Format> sniffFormat(const Bytes& bytes);

// The format of a file extension (".jpg", any case, with or without the dot) or of a --format word.
std::optional<Format> formatOfExtension(const std::string& extension);

const char* formatName(Format format);

// The extension, dot included, of a result whose input had this format; OpenEXR results are written as Radiance.
const char* extensionFor(Format format);

inline bool isHdr(Format format) {
  return format == Format::kRadiance || format == Format::kOpenExr;
}

}  // namespace tool::pictures
