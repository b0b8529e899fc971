#include "tell/comparison.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/file_io.h"
#include "pictures/libvips.h"
#include "tell/places.h"

namespace tool::tell {
namespace {

using vips::VImage;

constexpr int kColumn = 640, kGap = 16, kLabel = 30;
const std::vector<double> kPaper = {24, 24, 26};

VImage fitted(const VImage& image) {
  const double scale = std::min(1.0, static_cast<double>(kColumn) / image.width());
  return scale < 1 ? image.resize(scale) : image;
}

VImage canvas(int width, int height) {
  return (VImage::black(width, height, VImage::option()->set("bands", 3)) + kPaper)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// White words on the paper; a system without fonts gets none.
VImage label(const std::string& words, int width) {
  VImage strip = canvas(width, kLabel);
  try {
    const VImage mask = VImage::text(words.c_str(), VImage::option()->set("font", "sans 11")->set("dpi", 96));
    const VImage ink = mask.embed(2, (kLabel - mask.height()) / 2, width, kLabel).copy_memory();
    return ink.ifthenelse(std::vector<double>{225, 225, 225}, strip, VImage::option()->set("blend", true))
        .cast(VIPS_FORMAT_UCHAR)
        .copy_memory();
  } catch (const vips::VError&) {
    vips_error_clear();
    return strip;
  }
}

VImage labelled(const std::string& words, const VImage& image, int width) {
  return label(words, width)
      .join(image.embed(0, 0, width, image.height(),
                        VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", kPaper)),
            VIPS_DIRECTION_VERTICAL);
}

VImage row(const std::vector<VImage>& images) {
  return VImage::arrayjoin(images, VImage::option()->set("across", 3)->set("shim", kGap)->set("background", kPaper));
}

// The three side by side under their words.
VImage three(const DisplayPair& pair, const VImage& difference, const std::string& before, int width) {
  const std::string magnified = fmt::format("difference x {:.0f}", kMagnification);
  return row({labelled(before, pair.before, width), labelled("after", pair.after, width),
              labelled(magnified, difference, width)});
}

VImage comparison(const DisplayPair& pair) {
  const VImage difference = magnifiedDifference(pair);
  const Rectangle window = placesOf(pair, kColumn, kColumn * 3 / 4, {Look::kChange}).at(0).window;
  const DisplayPair whole = {fitted(pair.before), fitted(pair.after)};
  const DisplayPair closer = {window.cutFrom(pair.before), window.cutFrom(pair.after)};
  const int width = std::max(whole.before.width(), window.width);
  const std::string place = fmt::format("most changed, 100 %, at {}, {}", window.left, window.top);
  return three(whole, fitted(difference), "before", width)
      .join(three(closer, window.cutFrom(difference), place, width), VIPS_DIRECTION_VERTICAL,
            VImage::option()->set("shim", kGap)->set("background", kPaper)->set("expand", true));
}

VImage framed(const VImage& image) {
  return image.embed(kGap, kGap / 2, image.width() + 2 * kGap, image.height() + kGap * 3 / 2,
                     VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", kPaper));
}

}  // namespace

void writeComparison(const std::string& path, const DisplayPair& pair, const pictures::Writing& writing) try {
  const pictures::Blob png(framed(comparison(pair)).pngsave_buffer(VImage::option()->set("strip", true)));
  pictures::writeWhole(path, png.data(), png.size(), writing);
} catch (const vips::VError& error) {
  throw Failure("cannot make " + path + ": " + pictures::vipsReason(error));
}

}  // namespace tool::tell
