#include "pictures/footprint.h"

#include <algorithm>
#include <limits>

#include "pictures/file_io.h"
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

std::size_t bytesFor(const VImage& header, bool display) {
  const std::size_t pixels = static_cast<std::size_t>(header.width()) * static_cast<std::size_t>(header.height());
  const std::size_t sample = vips_format_sizeof(header.format());
  const std::size_t samples = kCopies * pixels * static_cast<std::size_t>(header.bands()) * sample;
  const bool isLight = header.coding() == VIPS_CODING_RAD || sample == sizeof(float);
  return std::max(samples, isLight ? kLightBytes * pixels : 0) + (display ? kDisplayBytes * pixels : 0);
}

}  // namespace

std::size_t footprintOf(const std::string& path, std::uintmax_t fileSize, bool display) try {
  if (isStandardStream(path)) return std::numeric_limits<std::size_t>::max();
  const Beside others;
  const vips::VSource source = vips::VSource::new_from_file(path.c_str());
  const VImage header = VImage::new_from_source(source, "", VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL));
  return fileSize + bytesFor(header, display) + kScratch;
} catch (const vips::VError&) {
  return kGuess * fileSize + kScratch;
}

}  // namespace tool::pictures
