// The file formats that veskaro-nr reads and writes: recognised by content when read, by name when written.
#pragma once

#include <optional>
#include <string>

#include "pictures/bytes.h"

namespace tool::pictures {

enum class Format { kPng, kJpeg, kTiff, kWebp, kAvif, kHeic, kJpegXl, kPnm, kRadiance, kOpenExr };

// The format whose signature the bytes begin with.
std::optional<Format> sniffFormat(const Bytes& bytes);

// The format of a file extension (".jpg", any case, with or without the dot) or of a --format word.
std::optional<Format> formatOfExtension(const std::string& extension);

const char* formatName(Format format);

// All that are read, in a row.
std::string formatNames();

// The words of --format, in a row.
std::string writtenWords();

// The format of a result whose input had this one: the same, unless that is read and not written.
Format resultFormat(Format input);

// The extension of a format's files, dot included.
std::string extensionFor(Format format);

// A format of light, of any range. TIFF and PNM may hold that too.
inline bool isHdr(Format format) {
  return format == Format::kRadiance || format == Format::kOpenExr;
}

}  // namespace tool::pictures
