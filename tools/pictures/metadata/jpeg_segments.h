// The marker segments of a JPEG file.
#pragma once

#include <vector>

#include "pictures/bytes.h"

namespace tool::pictures {

struct JpegSegment {
  std::uint8_t marker;
  std::size_t begin, end;  // from the marker's 0xff to past the payload

  static constexpr std::size_t kHead = 4;  // marker and length
};

// The segments up to the first scan; stops early when the file does not hold together.
std::vector<JpegSegment> jpegSegments(const Bytes& file);

bool payloadStartsWith(const Bytes& file, const JpegSegment& segment, const char* text, std::size_t length);

}  // namespace tool::pictures
