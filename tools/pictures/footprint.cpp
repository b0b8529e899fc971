#include "pictures/footprint.h"

#include <algorithm>
#include <limits>

#include "pictures/file_io.h"
#include "pictures/formats.h"
#include "pictures/libvips.h"

namespace tool::pictures {
namespace {

using vips::VImage;

constexpr std::size_t kScratch = std::size_t{16} << 20;  // tiles, and what the libraries under this one take
// As the file has it, decoded (by some libraries as a whole, before anything is handed out), denoised, and coded.
constexpr std::size_t kCopies = 4;
constexpr std::size_t kLightBytes = 44;  // a pixel of light: three floats as they were, cut off, denoised; and RGBE
constexpr std::size_t kDisplayBytes = 24;
constexpr std::size_t kGuess = 32;  // times the file's size

struct Size {
  std::size_t pixels, samples;  // samples in bytes
  bool isLight;
};

std::size_t bytesFor(const Size& size, bool display) {
  const std::size_t samples = kCopies * size.samples, light = size.isLight ? kLightBytes * size.pixels : 0;
  return std::max(samples, light) + (display ? kDisplayBytes * size.pixels : 0);
}

std::size_t big32(const std::uint8_t* p) {
  return std::size_t{p[0]} << 24 | std::size_t{p[1]} << 16 | std::size_t{p[2]} << 8 | p[3];
}

// By the first chunk, whatever comes of it: four channels hold palettes, too.
Size sizeOfPng(const Bytes& beginning) {
  constexpr std::size_t kWidth = 16, kHeight = 20, kDepth = 24;
  if (beginning.size() <= kDepth) return {};
  const std::size_t pixels = big32(&beginning[kWidth]) * big32(&beginning[kHeight]);
  return {pixels, pixels * (beginning[kDepth] == 16 ? 8 : 4), false};
}

Size sizeOf(const VImage& header) {
  const std::size_t pixels = static_cast<std::size_t>(header.width()) * static_cast<std::size_t>(header.height());
  const std::size_t sample = vips_format_sizeof(header.format());
  return {pixels, pixels * static_cast<std::size_t>(header.bands()) * sample,
          header.coding() == VIPS_CODING_RAD || sample == sizeof(float)};
}

// By the file's header. Asking each of libvips' loaders whether it knows the file takes longer than the rest.
Size sizeOf(const std::string& path) {
  const Bytes beginning = readBeginning(path).bytes;
  const std::optional<Format> format = sniffFormat(beginning);
  if (format == Format::kPng) return sizeOfPng(beginning);
  const Beside others;
  const vips::VSource source = vips::VSource::new_from_file(path.c_str());
  vips::VOption* const options = VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL);
  if (format == Format::kJpeg) return sizeOf(VImage::jpegload_source(source, options));
  return sizeOf(VImage::new_from_source(source, "", options));
}

}  // namespace

std::size_t footprintOf(const std::string& path, std::uintmax_t fileSize, bool display) try {
  if (isStandardStream(path)) return std::numeric_limits<std::size_t>::max();
  return fileSize + bytesFor(sizeOf(path), display) + kScratch;
} catch (const vips::VError&) {
  return kGuess * fileSize + kScratch;
}

}  // namespace tool::pictures
