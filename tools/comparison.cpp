#include <fmt/format.h>

#include "decode.h"
#include "display.h"
#include "failure.h"
#include "file_io.h"

namespace tool {
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

}  // namespace

void writeComparison(const std::string& path, const DisplayPair& pair, bool overwrite) try {
  const VImage difference = magnifiedDifference(pair, kMagnification);
  const Rectangle window = mostChanged(pair, kColumn, kColumn * 3 / 4, 1).at(0);
  const auto crop = [&](const VImage& image) {
    return image.crop(window.left, window.top, window.width, window.height);
  };
  const std::string magnified = fmt::format("difference x {:.0f}", kMagnification);
  const int width = std::max(fitted(pair.before).width(), window.width);
  const VImage whole =
      row({labelled("before", fitted(pair.before), width), labelled("after", fitted(pair.after), width),
           labelled(magnified, fitted(difference), width)});
  const VImage closer =
      row({labelled(fmt::format("most changed, 100 %, at {}, {}", window.left, window.top), crop(pair.before), width),
           labelled("after", crop(pair.after), width), labelled(magnified, crop(difference), width)});
  const VImage both = whole.join(closer, VIPS_DIRECTION_VERTICAL,
                                 VImage::option()->set("shim", kGap)->set("background", kPaper)->set("expand", true));
  const VImage framed = both.embed(kGap, kGap / 2, both.width() + 2 * kGap, both.height() + kGap * 3 / 2,
                                   VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", kPaper));
  VipsBlob* blob = framed.pngsave_buffer(VImage::option()->set("strip", true));
  try {
    writeWhole(path, static_cast<const std::uint8_t*>(VIPS_AREA(blob)->data), VIPS_AREA(blob)->length, overwrite);
  } catch (...) {
    vips_area_unref(VIPS_AREA(blob));
    throw;
  }
  vips_area_unref(VIPS_AREA(blob));
} catch (const vips::VError& error) {
  throw Failure("cannot make " + path + ": " + vipsReason(error));
}

}  // namespace tool
