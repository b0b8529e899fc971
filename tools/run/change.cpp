#include "run/change.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tool::run {
namespace {

using pictures::Bytes;
using pictures::HdrPicture;
using pictures::Photo;

constexpr double kNextToNothing = 0.1;  // mean difference; truncation alone makes nearly as much

template <typename Sample>
const Sample* samples(const Bytes& bytes) {
  return reinterpret_cast<const Sample*>(bytes.data());
}

// Calls visit(largest difference, sum of differences) with differences on the 8-bit scale.
template <typename Sample, typename Visit>
void forEachPixel(std::size_t pixels, const Bytes& before, const Bytes& after, double scale, Visit visit) {
  const Sample* a = samples<Sample>(before);
  const Sample* b = samples<Sample>(after);
  for (std::size_t i = 0; i < pixels; ++i) {
    int most = 0, sum = 0;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const int difference = std::abs(static_cast<int>(a[3 * i + channel]) - static_cast<int>(b[3 * i + channel]));
      most = std::max(most, difference);
      sum += difference;
    }
    visit(most * scale, sum * scale);
  }
}

template <typename Visit>
void forEachPixel(const Photo& photo, const Bytes& after, Visit visit) {
  if (photo.bits == 16) {
    forEachPixel<std::uint16_t>(photo.pixels(), photo.rgb, after, 1.0 / 256, visit);
  } else {
    forEachPixel<std::uint8_t>(photo.pixels(), photo.rgb, after, 1.0, visit);
  }
}

// Share of pixels whose luminance is at or above a level on the 8-bit scale.
double shareBrighterThan(const Photo& photo, double level) {
  std::size_t count = 0;
  const std::size_t step = photo.sampleBytes();
  for (std::size_t i = 0; i < photo.pixels(); ++i) {
    // The high byte is enough here.
    const std::uint8_t* p = photo.rgb.data() + 3 * step * i + (step - 1);
    if (0.299 * p[0] + 0.587 * p[step] + 0.114 * p[2 * step] >= level) ++count;
  }
  return static_cast<double>(count) / static_cast<double>(photo.pixels());
}

bool removesNothing(const Parameters& used) {
  const auto isZero = [&](std::size_t parameter) { return used[parameter].value == 0; };
  return isZero(NR_LEVEL0_AMOUNT) && isZero(NR_LEVEL1_AMOUNT) && isZero(NR_LEVEL2_AMOUNT) && isZero(NR_LEVEL3_AMOUNT) &&
         isZero(NR_SHARPENING) && isZero(NR_CHROMA_SHARPENING);
}

constexpr double kFewPixels = 0.001;  // share of a high-dynamic-range picture

struct Difference {
  int most = 0, sum = 0;
};

// Of the four bytes of a pixel, each in a plane of its own.
Difference differenceAt(const Bytes& before, const Bytes& after, std::size_t at, std::size_t step) {
  Difference difference;
  for (std::size_t channel = 0; channel < 4; ++channel, at += step) {
    const int here = std::abs(static_cast<int>(before[at]) - static_cast<int>(after[at]));
    difference.sum += here;
    difference.most = std::max(difference.most, here);
  }
  return difference;
}

}  // namespace

Change changeOf(const Photo& photo, const Bytes& after) {
  Change change;
  std::size_t changed = 0;
  forEachPixel(photo, after, [&](double most, double sum) {
    changed += most > 0 ? 1 : 0;
    change.mean += sum;
    change.largest = std::max(change.largest, most);
  });
  change.share = static_cast<double>(changed) / static_cast<double>(photo.pixels());
  change.mean /= 3.0 * static_cast<double>(photo.pixels());
  return change;
}

Change changeOf(const HdrPicture& picture, const Bytes& after) {
  Change change;
  const std::size_t width = static_cast<std::size_t>(picture.width);
  std::size_t changed = 0;
  for (std::size_t row = 0; row < static_cast<std::size_t>(picture.height); ++row) {
    for (std::size_t x = 0; x < width; ++x) {
      const Difference difference = differenceAt(picture.planar, after, 4 * width * row + x, width);
      change.mean += difference.sum;
      change.largest = std::max<double>(change.largest, difference.most);
      changed += difference.most > 0 ? 1 : 0;
    }
  }
  change.share = static_cast<double>(changed) / static_cast<double>(picture.pixels());
  change.mean /= 4.0 * static_cast<double>(picture.pixels());
  return change;
}

std::optional<std::string> whyUnchanged(const Photo& photo, const Parameters& used, const NoiseProfile& noise,
                                        const Change& change) {
  if (change.mean >= kNextToNothing) return std::nullopt;
  if (used[NR_LUMA_KEEP].value == 1 && photo.grey)
    return "a grey picture has no chroma to denoise, and luminance was to stay";
  if (removesNothing(used)) return "noise reduction and sharpening were set to 0";
  const double end =
      static_cast<double>(used[NR_HIGHLIGHT_START].value) + static_cast<double>(used[NR_HIGHLIGHT_WIDTH].value);
  const double bright = shareBrighterThan(photo, end);
  if (bright > 0.5) {
    return fmt::format("{:.0f} % of the picture is brighter than {:.0f}, where luminance is left alone", 100 * bright,
                       end);
  }
  if (!noise.measured()) return "there is nothing to tell noise from: " + noise.whyDefaults();
  return "the picture is all but free of noise: what was taken out is less than a tenth of an 8-bit step on average";
}

std::optional<std::string> whyUnchanged(const Change& changeOfHdr) {
  if (changeOfHdr.share >= kFewPixels) return std::nullopt;
  return "the pixels that this strength smooths, those in the shadows first of all, had no noise to lose";
}

}  // namespace tool::run
