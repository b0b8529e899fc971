#include "pictures/recognise.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>

#include "base/failure.h"
#include "pictures/metadata/tiff_directories.h"

namespace tool::pictures {
namespace {

struct Signature {
  std::size_t at;
  const char* bytes;
  std::size_t size;
  const char* what;  // null: a camera's raw file
};

constexpr Signature kSignatures[] = {
    {0, "FUJIFILMCCD-RAW", 15, nullptr},
    {0, "IIRO", 4, nullptr},
    {0, "IIRS", 4, nullptr},
    {0, "MMOR", 4, nullptr},
    {0, "IIU\0", 4, nullptr},
    {0, "II\x1a\0\0\0HEAPCCDR", 14, nullptr},
    {0, "FOVb", 4, nullptr},
    {0, "\0MRM", 4, nullptr},
    {4, "ftypcrx ", 8, nullptr},
    {0, "BM", 2, "a BMP picture"},
    {0, "GIF8", 4, "a GIF picture"},
    {0, "8BPS", 4, "a layered (PSD) picture"},
    {0, "\0\0\0\x0cjP  ", 8, "a JPEG 2000 picture"},
    {0, "%PDF", 4, "a PDF document"},
};

constexpr const char* kRawExtensions[] = {".3fr", ".arw", ".cr2", ".cr3", ".crw", ".dcr", ".dng", ".erf", ".fff",
                                          ".iiq", ".kdc", ".mef", ".mos", ".mrw", ".nef", ".nrw", ".orf", ".pef",
                                          ".raf", ".raw", ".rw2", ".rwl", ".sr2", ".srf", ".srw", ".x3f"};

const Signature* signatureOf(const Bytes& file) {
  for (const Signature& known : kSignatures) {
    if (file.size() >= known.at + known.size && std::memcmp(file.data() + known.at, known.bytes, known.size) == 0)
      return &known;
  }
  return nullptr;
}

bool isNamedRaw(const std::string& name) {
  std::string extension = std::filesystem::path(name).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return std::find(std::begin(kRawExtensions), std::end(kRawExtensions), extension) != std::end(kRawExtensions);
}

// In TIFF's clothes, with a maker's mark behind the header or the sensor's picture in a directory.
bool isRawInTiff(const Bytes& file) {
  const auto marks = [&](const char* mark, std::size_t size) {
    return file.size() >= 8 + size && std::memcmp(file.data() + 8, mark, size) == 0;
  };
  return marks("CR\2\0", 4) || marks("IIII", 4) || isRawTiff(file);
}

[[noreturn]] void refuse(const Bytes& file) {
  if (file.empty()) throw Failure(Kind::kDamaged, "the file is empty");
  const Signature* known = signatureOf(file);
  if (known != nullptr)
    throw Failure(Kind::kUnsupported, fmt::format("{}, which is not read; convert it to PNG, say", known->what));
  throw Failure(Kind::kUnsupported, fmt::format("not a {} picture", formatNames()));
}

}  // namespace

Format recognise(const Bytes& file, const std::string& name) {
  const std::optional<Format> format = sniffFormat(file);
  const bool isTiff = format == Format::kTiff;
  const Signature* known = format ? nullptr : signatureOf(file);
  if ((known != nullptr && known->what == nullptr) || (isTiff && isRawInTiff(file)) ||
      ((!format || isTiff) && !file.empty() && isNamedRaw(name))) {
    throw Failure(Kind::kUnsupported,
                  "a camera's raw file; develop it with a raw converter, to a 16-bit TIFF say, and denoise that");
  }
  if (!format) refuse(file);
  return *format;
}

}  // namespace tool::pictures
