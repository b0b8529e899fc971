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

constexpr char kTooSmall[] = "the noise of less than 16 x 16 pixels cannot be measured";

constexpr double kNextToNothing = 0.1;  // mean difference; truncation alone makes nearly as much

// Calls visit(largest difference, sum of differences) for the colour of each pixel.
template <typename Sample, typename Visit>
void forEachPixel(const Photo& photo, const std::uint8_t* before, const std::uint8_t* after, Visit visit) {
  const std::ptrdiff_t bands = photo.bands(), colours = photo.colourBands();
  const Sample* a = reinterpret_cast<const Sample*>(before);
  const Sample* b = reinterpret_cast<const Sample*>(after);
  for (std::size_t i = 0; i < photo.pixels(); ++i, a += bands, b += bands) {
    int most = 0, sum = 0;
    for (std::ptrdiff_t channel = 0; channel < colours; ++channel) {
      const int difference = std::abs(static_cast<int>(a[channel]) - static_cast<int>(b[channel]));
      most = std::max(most, difference);
      sum += difference;
    }
    visit(most, sum);
  }
}

template <typename Visit>
void forEachPixel(const Photo& photo, const Bytes& after, Visit visit) {
  if (photo.bits == 16) {
    forEachPixel<std::uint16_t>(photo, photo.samples(), after.data(), visit);
  } else {
    forEachPixel<std::uint8_t>(photo, photo.samples(), after.data(), visit);
  }
}

// Share of pixels whose luminance is at or above a level on the 8-bit scale.
double shareBrighterThan(const Photo& photo, double level) {
  std::size_t count = 0;
  const int sample = photo.bits / 8, green = photo.grey ? 0 : sample, blue = 2 * green;
  // The high byte is enough here.
  const std::uint8_t* p = photo.samples() + (sample - 1);
  for (std::size_t i = 0; i < photo.pixels(); ++i, p += photo.bands() * sample) {
    if (0.299 * p[0] + 0.587 * p[green] + 0.114 * p[blue] >= level) ++count;
  }
  return static_cast<double>(count) / static_cast<double>(photo.pixels());
}

bool removesNothing(const Parameters& used) {
  const auto isZero = [&](std::size_t parameter) { return used[parameter].value == 0; };
  return isZero(NR_LEVEL0_AMOUNT) && isZero(NR_LEVEL1_AMOUNT) && isZero(NR_LEVEL2_AMOUNT) && isZero(NR_LEVEL3_AMOUNT) &&
         isZero(NR_SHARPENING) && isZero(NR_CHROMA_SHARPENING) && isZero(kDotsLuma) && isZero(kDotsChroma) &&
         isZero(kShrinkLuma) && isZero(kShrinkChroma);
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
  std::size_t changed = 0;
  double total = 0;
  int largest = 0;
  forEachPixel(photo, after, [&](int most, int sum) {
    changed += most > 0 ? 1 : 0;
    total += sum;
    largest = std::max(largest, most);
  });
  const double pixels = static_cast<double>(photo.pixels()), scale = photo.bits == 16 ? 1.0 / 256 : 1.0;
  return {static_cast<double>(changed) / pixels, total * scale / (photo.colourBands() * pixels), largest * scale};
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
                                        Rule rule, const Change& change) {
  if (change.mean >= kNextToNothing) return std::nullopt;
  if (takesGrain(rule) && noise.noise.grain == VNR_GRAIN_UNKNOWN) return kTooSmall;
  if (used[NR_LUMA_KEEP].value == 1 && photo.grey)
    return "a grey picture has no chroma to denoise, and luminance was to stay";
  if (removesNothing(used)) return "noise reduction, sharpening and the stages after them were set to 0";
  const double end =
      static_cast<double>(used[NR_HIGHLIGHT_START].value) + static_cast<double>(used[NR_HIGHLIGHT_WIDTH].value);
  const double bright = shareBrighterThan(photo, end);
  if (bright > 0.5) {
    return fmt::format("{:.0f} % of the picture is brighter than {:.0f}, where luminance is left alone", 100 * bright,
                       end);
  }
  if (rule == Rule::kClassic && !noise.measured()) return "there is nothing to tell noise from: " + noise.whyNoLevel();
  return "the picture is all but free of noise: what was taken out is less than a tenth of an 8-bit step on average";
}

std::optional<std::string> whyUnchanged(const NoiseProfile& noiseOfHdr, const Change& change) {
  if (change.share >= kFewPixels) return std::nullopt;
  if (noiseOfHdr.noise.grain == VNR_GRAIN_UNKNOWN) return kTooSmall;
  return "the picture is all but free of noise";
}

std::optional<std::string> whyUnchanged(const Change& changeByDenoise1) {
  if (changeByDenoise1.share >= kFewPixels) return std::nullopt;
  return "the pixels that this strength smooths, those in the shadows first of all, had no noise to lose";
}

}  // namespace tool::run
