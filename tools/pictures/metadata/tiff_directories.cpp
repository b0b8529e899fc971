#include "pictures/metadata/tiff_directories.h"

#include <algorithm>

namespace tool::pictures {
namespace {

constexpr std::size_t kHeader = 8, kEntry = 12;
constexpr std::size_t kPhotometric = 0x0106, kOrientation = 0x0112, kSubDirectories = 0x014a, kCfaPattern = 0x828e,
                      kDngVersion = 0xc612;
constexpr std::size_t kColourFilterArray = 32803, kLinearRaw = 34892;
constexpr std::size_t kMostDirectories = 32;

bool isLittle(const Bytes& bytes) {
  return bytes[0] == 'I';
}

// How the byte of this place counts in a number of so many.
std::size_t shiftOf(bool little, std::size_t place, std::size_t size) {
  return 8 * (little ? place : size - 1 - place);
}

bool isRawDirectory(const TiffDirectories& tiff, std::size_t directory) {
  if (tiff.find(directory, kDngVersion) || tiff.find(directory, kCfaPattern)) return true;
  const auto photometric = tiff.find(directory, kPhotometric);
  const std::vector<std::size_t> value = photometric ? tiff.numbers(*photometric, 1) : std::vector<std::size_t>();
  return !value.empty() && (value[0] == kColourFilterArray || value[0] == kLinearRaw);
}

}  // namespace

TiffDirectories::TiffDirectories(const Bytes& bytes) : bytes_(bytes) {
  if (bytes.size() < kHeader || bytes[0] != bytes[1] || (bytes[0] != 'I' && bytes[0] != 'M')) return;
  isTiff_ = number(2, 2) == 42;
}

std::size_t TiffDirectories::number(std::size_t at, std::size_t size) const {
  std::size_t value = 0;
  if (at > bytes_.size() || size > bytes_.size() - at) return 0;
  for (std::size_t i = 0; i < size; ++i)
    value |= static_cast<std::size_t>(bytes_[at + i]) << shiftOf(isLittle(bytes_), i, size);
  return value;
}

std::size_t TiffDirectories::first() const {
  return isTiff_ ? number(4, 4) : 0;
}

std::size_t TiffDirectories::next(std::size_t directory) const {
  return number(directory + 2 + number(directory, 2) * kEntry, 4);
}

std::vector<TiffDirectories::Entry> TiffDirectories::entries(std::size_t directory) const {
  std::vector<Entry> found;
  if (directory == 0) return found;
  const std::size_t end = std::min(directory + 2 + number(directory, 2) * kEntry, bytes_.size());
  for (std::size_t at = directory + 2; at + kEntry <= end; at += kEntry)
    found.push_back({number(at, 2), number(at + 2, 2), number(at + 4, 4), at + 8});
  return found;
}

std::optional<TiffDirectories::Entry> TiffDirectories::find(std::size_t directory, std::size_t tag) const {
  for (const Entry& entry : entries(directory)) {
    if (entry.tag == tag) return entry;
  }
  return std::nullopt;
}

std::vector<std::size_t> TiffDirectories::numbers(const Entry& entry, std::size_t most) const {
  constexpr std::size_t kShort = 3;
  const std::size_t size = entry.type == kShort ? 2 : 4;
  const std::size_t at = entry.count * size <= 4 ? entry.field : number(entry.field, 4);
  std::vector<std::size_t> values;
  for (std::size_t i = 0; i < std::min(entry.count, most); ++i) values.push_back(number(at + i * size, size));
  return values;
}

void TiffDirectories::put(Bytes& bytes, std::size_t at, std::size_t size, std::size_t value) {
  for (std::size_t i = 0; i < size; ++i)
    bytes[at + i] = static_cast<std::uint8_t>(value >> shiftOf(isLittle(bytes), i, size));
}

void setOrientation(Bytes& exif, int orientation) {
  const TiffDirectories tiff(exif);
  if (const auto entry = tiff.find(tiff.first(), kOrientation))
    TiffDirectories::put(exif, entry->field, 2, static_cast<std::size_t>(orientation));
}

bool isRawTiff(const Bytes& file) {
  const TiffDirectories tiff(file);
  std::vector<std::size_t> toSee = {tiff.first()};
  for (std::size_t i = 0; i < toSee.size() && i < kMostDirectories; ++i) {
    const std::size_t directory = toSee[i];
    if (directory == 0) continue;
    if (isRawDirectory(tiff, directory)) return true;
    toSee.push_back(tiff.next(directory));
    const auto below = tiff.find(directory, kSubDirectories);
    for (const std::size_t sub : below ? tiff.numbers(*below, kMostDirectories) : std::vector<std::size_t>())
      toSee.push_back(sub);
  }
  return false;
}

}  // namespace tool::pictures
