// JPEG: what its tables and what lies beside the picture say.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "pictures/metadata/containers.h"
#include "pictures/metadata/jpeg_segments.h"
#include "pictures/metadata/tiff_directories.h"

namespace tool::pictures {
namespace {

constexpr std::uint8_t kTables = 0xdb, kApp2 = 0xe2, kEndOfImage = 0xd9;

using Table = std::array<int, 64>;

// The tables of the JPEG standard's annex K in the order of a file, which qualities scale.
constexpr Table kStandard[] = {
    {16, 11,  12, 14, 12, 10, 16,  14,  13,  14, 18, 17,  16,  19,  24,  40,  26, 24,  22,  22, 24, 49,
     35, 37,  29, 40, 58, 51, 61,  60,  57,  51, 56, 55,  64,  72,  92,  78,  64, 68,  87,  69, 55, 56,
     80, 109, 81, 87, 95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99},
    {17, 18, 18, 24, 21, 24, 47, 26, 26, 47, 99, 66, 56, 66, 99, 99, 99, 99, 99, 99, 99, 99,
     99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
     99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99}};

int scaled(int entry, int quality) {
  const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  return std::clamp((entry * percent + 50) / 100, 1, 255);
}

long distance(const Table& table, const Table& standard, int quality) {
  long sum = 0;
  for (std::size_t i = 0; i < table.size(); ++i) sum += std::abs(table[i] - scaled(standard[i], quality));
  return sum;
}

struct Tables {
  std::array<Table, 2> table;  // of luminance and of chroma
  std::array<bool, 2> isThere{};
};

void readTables(const std::uint8_t* at, const std::uint8_t* end, Tables& tables) {
  while (at < end) {
    const std::size_t bytes = *at >> 4 == 0 ? 1 : 2, which = *at & 15;
    ++at;
    if (static_cast<std::size_t>(end - at) < 64 * bytes) return;
    for (std::size_t i = 0; i < 64 && which < 2; ++i)
      tables.table[which][i] = bytes == 1 ? at[i] : at[2 * i] << 8 | at[2 * i + 1];
    if (which < 2) tables.isThere[which] = true;
    at += 64 * bytes;
  }
}

Tables tablesOf(const Bytes& file) {
  Tables tables;
  for (const JpegSegment& segment : jpegSegments(file)) {
    if (segment.marker == kTables)
      readTables(file.data() + segment.begin + JpegSegment::kHead, file.data() + segment.end, tables);
  }
  return tables;
}

// Past the end of the first picture; its scans hold markers only with what belongs to them.
std::size_t endOfPicture(const Bytes& file) {
  const std::vector<JpegSegment> before = jpegSegments(file);
  std::size_t at = before.empty() ? 2 : before.back().end;
  while (at + 4 <= file.size()) {
    const std::uint8_t marker = file[at + 1];
    if (file[at] != 0xff || marker == 0 || marker == 0xff || (marker >= 0xd0 && marker <= 0xd7)) {
      ++at;
    } else if (marker == kEndOfImage) {
      return at + 2;
    } else {
      at += 2 + (static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3]);
    }
  }
  return file.size();
}

bool holds(const std::uint8_t* begin, const std::uint8_t* end, const char* text) {
  const std::uint8_t* const bytes = reinterpret_cast<const std::uint8_t*>(text);
  return std::search(begin, end, bytes, bytes + std::strlen(text)) != end;
}

bool anyHolds(const Bytes& file, std::initializer_list<const char*> texts) {
  for (const JpegSegment& segment : jpegSegments(file)) {
    if (segment.marker < 0xe1 || segment.marker > kApp2) continue;
    for (const char* text : texts) {
      if (holds(file.data() + segment.begin, file.data() + segment.end, text)) return true;
    }
  }
  return false;
}

// By the index of a multi-picture file.
std::size_t furtherPictures(const Bytes& file) {
  constexpr std::size_t kCount = 0xb001;
  for (const JpegSegment& segment : jpegSegments(file)) {
    if (segment.marker != kApp2 || !payloadStartsWith(file, segment, "MPF\0", 4)) continue;
    const Bytes index(file.begin() + static_cast<std::ptrdiff_t>(segment.begin + JpegSegment::kHead + 4),
                      file.begin() + static_cast<std::ptrdiff_t>(segment.end));
    const TiffDirectories tiff(index);
    const auto count = tiff.find(tiff.first(), kCount);
    const std::vector<std::size_t> number = count ? tiff.numbers(*count, 1) : std::vector<std::size_t>();
    return number.empty() ? 0 : std::max<std::size_t>(number[0], 1) - 1;
  }
  return 0;
}

}  // namespace

std::optional<int> jpegQuality(const Bytes& file) {
  const Tables tables = tablesOf(file);
  if (!tables.isThere[0]) return std::nullopt;
  const auto distanceAt = [&](int quality) {
    long sum = 0;
    for (std::size_t which = 0; which < 2; ++which)
      sum += tables.isThere[which] ? distance(tables.table[which], kStandard[which], quality) : 0;
    return sum;
  };
  int best = 100;
  for (int quality = 99; quality >= 1; --quality) {
    if (distanceAt(quality) < distanceAt(best)) best = quality;
  }
  return best;
}

std::string jpegLeftBehind(const Bytes& file) {
  const std::size_t end = endOfPicture(file);
  const auto hasBehind = [&](const char* text) { return holds(file.data() + end, file.data() + file.size(), text); };
  const std::size_t further = furtherPictures(file);
  std::string words;
  const auto add = [&](const std::string& more) { words += (words.empty() ? "" : " and ") + more; };
  const bool isMore = further > 0 || end < file.size();
  if (isMore && anyHolds(file, {"hdrgm:", "GainMap", "urn:iso:std:iso:ts:21496"}))
    add("its gain map");
  else if (further > 0)
    add(further == 1 ? "its second picture" : fmt::format("its {} further pictures", further));
  if (end < file.size() && (anyHolds(file, {"MotionPhoto", "MicroVideo"}) || hasBehind("MotionPhoto_Data")))
    add("the video of its motion photo");
  if (words.empty() && hasBehind("\xff\xd8\xff")) add("a second picture behind it");
  return words;
}

}  // namespace tool::pictures
