#include "pictures/hdr.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <vips/vips8>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/libvips.h"
#include "pictures/memory_limit.h"

namespace tool::pictures {
namespace {

using vips::VImage;
using vips::VOption;

// OpenEXR is read by file name only, and the bytes may have come from a pipe.
class FileInMemory {
 public:
  explicit FileInMemory(const Bytes& bytes) : fd_(memfd_create("picture", MFD_CLOEXEC)) {
    if (fd_ < 0 || write(fd_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      if (fd_ >= 0) close(fd_);
      throw Failure(Kind::kNoMemory, "memory exhausted");
    }
  }
  ~FileInMemory() { close(fd_); }
  FileInMemory(const FileInMemory&) = delete;
  FileInMemory& operator=(const FileInMemory&) = delete;
  std::string path() const { return fmt::format("/proc/self/fd/{}", fd_); }

 private:
  int fd_;
};

// Length of the header: lines of text, an empty line, the resolution line.
std::size_t headerLength(const Bytes& file) {
  std::size_t lineStart = 0;
  bool afterEmptyLine = false;
  for (std::size_t i = 0; i < file.size(); ++i) {
    if (file[i] != '\n') continue;
    if (afterEmptyLine) return i + 1;
    afterEmptyLine = i == lineStart;
    lineStart = i + 1;
  }
  throw Failure("the file ends within its header");
}

void requireUsableSize(int width, int height) {
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (pixels * 8 > INT_MAX) {
    throw Failure(Kind::kUnsupported,
                  fmt::format("{} x {} pixels are too many (at most {} megapixels)", width, height, INT_MAX / 8000000));
  }
  requireMemory(pixels * (20 + 4 * 6));
}

// Negative values and NaN have no place in RGBE and count as black; infinities as very bright.
VImage toRgbe(VImage image) {
  if (image.bands() > 3) image = image.extract_band(0, VImage::option()->set("n", 3));
  if (image.bands() < 3) image = image.extract_band(0).bandjoin({image.extract_band(0), image.extract_band(0)});
  constexpr double kBrightest = 1e30;
  image = (image > 0).ifthenelse(image, 0);
  image = (image < kBrightest).ifthenelse(image, kBrightest);
  return image.cast(VIPS_FORMAT_FLOAT).float2rad();
}

// Four bytes a pixel to rows of four planes.
Bytes toPlanar(const std::uint8_t* pixels, int width, int height) {
  const std::size_t w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  Bytes planar(4 * w * h);
  for (std::size_t y = 0; y < h; ++y) {
    const std::uint8_t* from = pixels + 4 * w * y;
    std::uint8_t* to = planar.data() + 4 * w * y;
    for (std::size_t x = 0; x < w; ++x) {
      for (std::size_t channel = 0; channel < 4; ++channel) to[channel * w + x] = from[4 * x + channel];
    }
  }
  return planar;
}

DecodedPixels readPixelsOf(const VImage& image, HdrPicture& picture) {
  picture.width = image.width();
  picture.height = image.height();
  requireUsableSize(picture.width, picture.height);
  return readPixels(image);
}

DecodedPixels readRadiance(const Bytes& file, HdrPicture& picture) {
  picture.header.assign(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(headerLength(file)));
  if (picture.header.find("32-bit_rle_xyze") != std::string::npos) {
    throw Failure(Kind::kUnsupported, "the picture is in XYZ colour (XYZE); only RGBE is supported");
  }
  const Blob blob = blobOver(file);
  VOption* options = VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR);
  return readPixelsOf(VImage::radload_buffer(blob.get(), options), picture);
}

DecodedPixels readOpenExr(const Bytes& file, HdrPicture& picture) {
  const FileInMemory named(file);
  VOption* options = VImage::option()->set("fail_on", VIPS_FAIL_ON_ERROR);
  return readPixelsOf(toRgbe(VImage::openexrload(named.path().c_str(), options)), picture);
}

// The scanlines are as long and as many as before, so the picture's own header fits in front of them: comments,
// exposure, view and the order of the scanlines stay what they were.
void replaceHeader(Bytes& file, const std::string& header) {
  file.erase(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(headerLength(file)));
  file.insert(file.begin(), header.begin(), header.end());
}

}  // namespace

Bytes fromPlanar(const Bytes& planar, int width, int height) {
  const std::size_t w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
  Bytes pixels(4 * w * h);
  for (std::size_t y = 0; y < h; ++y) {
    const std::uint8_t* from = planar.data() + 4 * w * y;
    std::uint8_t* to = pixels.data() + 4 * w * y;
    for (std::size_t x = 0; x < w; ++x) {
      for (std::size_t channel = 0; channel < 4; ++channel) to[4 * x + channel] = from[channel * w + x];
    }
  }
  return pixels;
}

HdrPicture decodeHdr(const Bytes& file, Format format) try {
  HdrPicture picture;
  picture.format = format;
  const DecodedPixels pixels = format == Format::kRadiance ? readRadiance(file, picture) : readOpenExr(file, picture);
  picture.planar = toPlanar(pixels.samples.get(), picture.width, picture.height);
  return picture;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

Bytes encodeHdr(const HdrPicture& picture, const Bytes& planar) try {
  Bytes pixels = fromPlanar(planar, picture.width, picture.height);
  const VImage image =
      VImage::new_from_memory(pixels.data(), pixels.size(), picture.width, picture.height, 4, VIPS_FORMAT_UCHAR)
          .copy(VImage::option()->set("coding", VIPS_CODING_RAD)->set("interpretation", VIPS_INTERPRETATION_scRGB));
  Bytes file = Blob(image.radsave_buffer()).bytes();
  if (!picture.header.empty()) replaceHeader(file, picture.header);
  return file;
} catch (const vips::VError& error) {
  throw Failure(vipsReason(error));
}

}  // namespace tool::pictures
