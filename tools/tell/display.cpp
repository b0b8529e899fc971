#include "tell/display.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tool::tell {
namespace {

using pictures::Bytes;
using pictures::HdrPicture;
using pictures::Photo;
using vips::VImage;

VImage asImage(const Photo& photo, const std::uint8_t* samples, int width, int height) {
  const bool isDeep = photo.bits == 16;
  const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                            static_cast<std::size_t>(photo.bands() * photo.bits / 8);
  const VImage image = VImage::new_from_memory(const_cast<std::uint8_t*>(samples), bytes, width, height, photo.bands(),
                                               isDeep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR)
                           .extract_band(0, VImage::option()->set("n", photo.colourBands()));
  return (photo.grey ? image.bandjoin({image, image}) : image)
      .copy(VImage::option()->set("interpretation", isDeep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB));
}

// The picture in sRGB by its colour profile; nothing when the profile is none.
std::optional<VImage> converted(const VImage& image, const Bytes& icc) {
  try {
    VImage tagged = image.copy();
    tagged.set(VIPS_META_ICC_NAME, nullptr, const_cast<std::uint8_t*>(icc.data()), icc.size());
    return tagged.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 8)).copy_memory();
  } catch (const vips::VError&) {
    vips_error_clear();
    return std::nullopt;
  }
}

// Without a profile that can be used the numbers are shown as they are.
VImage eightBits(const Photo& photo, const VImage& image) {
  if (!photo.metadata->icc.empty() && !photo.grey) {
    if (const std::optional<VImage> srgb = converted(image, photo.metadata->icc)) return *srgb;
  }
  return photo.bits == 16 ? (image >> 8).cast(VIPS_FORMAT_UCHAR) : image;
}

VImage upright(const VImage& image, int orientation) {
  VImage turned = image.copy();
  turned.set(VIPS_META_ORIENTATION, orientation);
  return turned.autorot();
}

VImage linear(const HdrPicture& picture, const Bytes& planar) {
  Bytes pixels = pictures::fromPlanar(planar, picture.width, picture.height);
  return VImage::new_from_memory(pixels.data(), pixels.size(), picture.width, picture.height, 4, VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("coding", VIPS_CODING_RAD)->set("interpretation", VIPS_INTERPRETATION_scRGB))
      .rad2float()
      .copy_memory();
}

// As colour; what is no number is black.
VImage imageOf(const pictures::Light& light) {
  VImage image = VImage::new_from_memory(const_cast<float*>(light.samples.data()), light.samples.size() * sizeof(float),
                                         light.width, light.height, light.channels, VIPS_FORMAT_FLOAT);
  image = (image > 0).ifthenelse(image, 0);
  image = (image < 1e30).ifthenelse(image, 1e30);
  return (light.channels == 1 ? image.bandjoin({image, image}) : image).copy_memory();
}

VImage asOnScreen(const VImage& image) {
  return (image * 255)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
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

VImage colourOnScreen(const Photo& photo, const std::uint8_t* samples, int width, int height) {
  return eightBits(photo, asImage(photo, samples, width, height))
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

DisplayPair displayPair(const Photo& photo, const Bytes& after) {
  const auto display = [&](const std::uint8_t* samples) {
    return upright(colourOnScreen(photo, samples, photo.width, photo.height), photo.coding.orientation).copy_memory();
  };
  return {display(photo.samples()), display(after.data())};
}

DisplayPair displayPair(const HdrPicture& picture, const Bytes& after) {
  const VImage first = linear(picture, picture.planar);
  const double exposure = exposureFor(first);
  return {toned(first, exposure), toned(linear(picture, after), exposure)};
}

DisplayPair displayPair(const pictures::LightPicture& picture, const pictures::Light& after, bool displayReferred) {
  const VImage first = imageOf(picture.light), second = imageOf(after);
  const int orientation = picture.coding.orientation;
  const double exposure = exposureFor(first);
  const auto shown = [&](const VImage& image) {
    return upright(displayReferred ? asOnScreen(image) : toned(image, exposure), orientation).copy_memory();
  };
  return {shown(first), shown(second)};
}

VImage magnifiedDifference(const DisplayPair& pair) {
  return ((pair.before - pair.after) * kMagnification + 128)
      .cast(VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
      .copy_memory();
}

}  // namespace tool::tell
