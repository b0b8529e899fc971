#include "display.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

using vips::VImage;

VImage display(const Photo& photo, const Bytes& rgb) {
  const VipsBandFormat type = photo.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR;
  const VipsInterpretation meaning = photo.bits == 16 ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
  VImage image =
      VImage::new_from_memory(const_cast<std::uint8_t*>(rgb.data()), rgb.size(), photo.width, photo.height, 3, type)
          .copy(VImage::option()->set("interpretation", meaning));
  const Bytes& icc = photo.metadata->icc;
  bool converted = false;
  if (!icc.empty() && !photo.grey) {
    try {
      VImage tagged = image.copy();
      tagged.set(VIPS_META_ICC_NAME, nullptr, const_cast<std::uint8_t*>(icc.data()), icc.size());
      image = tagged.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8)).copy_memory();
      converted = true;
    } catch (const vips::VError&) {  // a profile that is none: show the numbers as they are
      vips_error_clear();
    }
  }
  if (!converted && photo.bits == 16) image = (image >> 8).cast(VIPS_FORMAT_UCHAR);
  image = image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  if (photo.header.get_typeof(VIPS_META_ORIENTATION) != 0) {
    image = image.copy();
    image.set(VIPS_META_ORIENTATION, photo.header.get_int(VIPS_META_ORIENTATION));
    image = image.autorot();
  }
  return image.copy_memory();
}

VImage linear(const HdrPicture& picture, const Bytes& planar) {
  Bytes pixels = fromPlanar(planar, picture.width, picture.height);
  return VImage::new_from_memory(pixels.data(), pixels.size(), picture.width, picture.height, 4, VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("coding", VIPS_CODING_RAD)->set("interpretation", VIPS_INTERPRETATION_scRGB))
      .rad2float()
      .copy_memory();
}

// The factor that brings the geometric mean of the luminance to mid grey.
double exposureFor(const VImage& picture) {
  const VImage luminance = picture.bandmean();
  const double mean = (luminance + 1e-9).log().avg();
  return std::clamp(0.18 / std::exp(mean), 1e-6, 1e6);
}

VImage toned(const VImage& picture, double exposure) {
  const VImage scaled = picture * exposure;
  return ((scaled / (scaled + 1)).pow(1 / 2.2) * 255)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
      .copy_memory();
}

}  // namespace

DisplayPair displayPair(const Photo& photo, const Bytes& after) {
  return {display(photo, photo.rgb), display(photo, after)};
}

DisplayPair displayPair(const HdrPicture& picture, const Bytes& before, const Bytes& after) {
  const VImage first = linear(picture, before);
  const double exposure = exposureFor(first);
  return {toned(first, exposure), toned(linear(picture, after), exposure)};
}

std::vector<Rectangle> mostChanged(const DisplayPair& pair, int width, int height, int count) {
  // Sums over cells place a window well enough, and shrinking makes them.
  constexpr int kCell = 16;
  const int pictureWidth = pair.before.width(), pictureHeight = pair.before.height();
  width = std::min(width, pictureWidth);
  height = std::min(height, pictureHeight);
  VImage cells = (pair.before - pair.after).abs().bandmean().cast(VIPS_FORMAT_FLOAT);
  if (pictureWidth >= 2 * kCell && pictureHeight >= 2 * kCell) cells = cells.shrink(kCell, kCell);
  const double across = static_cast<double>(pictureWidth) / cells.width(),
               down = static_cast<double>(pictureHeight) / cells.height();
  const int wide = std::clamp(static_cast<int>(width / across), 1, cells.width());
  const int high = std::clamp(static_cast<int>(height / down), 1, cells.height());
  std::size_t size = 0;
  float* data = static_cast<float*>(cells.write_to_memory(&size));
  std::vector<float> values(data, data + size / sizeof(float));
  g_free(data);
  const auto sum = [&](int column, int row) {
    double total = 0;
    for (int y = row; y < row + high; ++y) {
      for (int x = column; x < column + wide; ++x)
        total +=
            values[static_cast<std::size_t>(y) * static_cast<std::size_t>(cells.width()) + static_cast<std::size_t>(x)];
    }
    return total;
  };
  std::vector<Rectangle> found;
  const auto overlaps = [&](const Rectangle& r) {
    return std::any_of(found.begin(), found.end(), [&](const Rectangle& o) {
      return r.left < o.left + o.width && o.left < r.left + r.width && r.top < o.top + o.height &&
             o.top < r.top + r.height;
    });
  };
  const int stepX = std::max(1, wide / 8), stepY = std::max(1, high / 8);
  while (static_cast<int>(found.size()) < count) {
    double most = -1;
    Rectangle best;
    for (int row = 0; row + high <= cells.height(); row += stepY) {
      for (int column = 0; column + wide <= cells.width(); column += stepX) {
        const Rectangle window{std::min(static_cast<int>(column * across), pictureWidth - width),
                               std::min(static_cast<int>(row * down), pictureHeight - height), width, height};
        const double here = sum(column, row);
        if (here <= most || overlaps(window)) continue;
        most = here;
        best = window;
      }
    }
    if (most < 0) break;
    found.push_back(best);
  }
  return found;
}

VImage magnifiedDifference(const DisplayPair& pair, double factor) {
  return ((pair.before - pair.after) * factor + 128)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
      .copy_memory();
}

}  // namespace tool
