#include "run/denoise_photo.h"

#include <algorithm>
#include <cstring>

#include "base/timer.h"
#include "run/library.h"

namespace tool::run {
namespace {

using pictures::Bytes;
using pictures::Photo;

void filterWhole(const Photo& photo, const vnr_plan* plan, const vnr_control& control, Bytes& samples) {
  const vnr_picture in = pictureOf(photo, photo.samples()), out = pictureOf(photo, samples.data());
  requireDone(vnr_plan_filter(plan, &in, &out, &control));
}

// Grey as three channels, of which red is kept, as denoise2 has it: Y + Cr with Cr all but 0, which rounds least. The
// other two are no more than a strip at a time.
class GreyFilter {
 public:
  GreyFilter(const Photo& photo, const vnr_plan* plan, Bytes& samples)
      : photo_(photo), plan_(plan), in_(pictureOf(photo, photo.samples())), out_(pictureOf(photo, samples.data())) {
    in_.channels = 3;
    in_.channel[1] = in_.channel[2] = in_.channel[0];
  }

  void filter(const vnr_control& control, StripProgress& progress) {
    const double height = photo_.height;
    for (vnr_rectangle strip = stripFrom(0); strip.y0 < strip.y1; strip = stripFrom(strip.y1)) {
      progress.begin = strip.y0 / height;
      progress.share = (strip.y1 - strip.y0) / height;
      filterStrip(strip, control);
    }
  }

 private:
  static constexpr int kRows = 1024;

  // Of whole rows of tiles; empty below the picture.
  vnr_rectangle stripFrom(int y) const {
    vnr_rectangle wanted = {0, photo_.width, y, std::min(y + kRows, photo_.height)}, read, write = wanted;
    if (y < photo_.height) requireDone(vnr_plan_cover(plan_, &wanted, &read, &write));
    return write;
  }

  void filterStrip(const vnr_rectangle& strip, const vnr_control& control) {
    const std::size_t rows = static_cast<std::size_t>(strip.y1 - strip.y0),
                      width = static_cast<std::size_t>(photo_.width);
    const std::size_t sample = static_cast<std::size_t>(photo_.bits / 8), plane = rows * width * sample;
    strip_.resize(3 * plane);
    vnr_picture out = vnr_interleaved(in_.type, photo_.width, strip.y1 - strip.y0, 1, strip_.data(), photo_.width);
    out.channels = 3;
    out.y = strip.y0;
    for (std::size_t c = 0; c < 3; ++c) out.channel[c] = strip_.data() + c * plane;
    requireDone(vnr_plan_filter(plan_, &in_, &out, &control));
    const vnr_picture kept = vnr_piece(out_, strip);
    auto* to = static_cast<std::uint8_t*>(kept.channel[0]);
    for (std::size_t i = 0; i < rows * width; ++i, to += kept.pixel_stride)
      std::memcpy(to, &strip_[i * sample], sample);
  }

  const Photo& photo_;
  const vnr_plan* plan_;
  vnr_picture in_, out_;
  Bytes strip_;
};

// What leaves floats as they are rounds integers as little as can be.
vnr_settings forIntegers(vnr_settings settings) {
  if (settings.rounding == VNR_ROUND_NONE) settings.rounding = VNR_ROUND_FINEST;
  return settings;
}

}  // namespace

bool isFilteredAsColour(const Photo& photo, const vnr_settings& settings) {
  return photo.grey && settings.rounding == VNR_ROUND_AUTO;
}

Bytes filterPhoto(const Photo& photo, const vnr_settings& given, int threads, const Watch& watch) {
  const vnr_settings settings = forIntegers(given);
  StripProgress progress{watch};
  const vnr_control control = controlOf(threads, progress);
  const Plan plan = beginPlan(photo.width, photo.height, settings);
  Bytes samples(photo.samples(), photo.samples() + photo.decoded.bytes);
  if (isFilteredAsColour(photo, settings)) {
    GreyFilter(photo, plan.get(), samples).filter(control, progress);
  } else {
    filterWhole(photo, plan.get(), control, samples);
  }
  return samples;
}

DenoisedPhoto denoisePhoto(const Photo& photo, const Settings& settings, const Watch& watch) {
  StripProgress progress{watch};
  const vnr_control control = controlOf(settings.threads, progress);
  NoiseProfile noise = settings.noise ? givenNoise(*settings.noise, VNR_DISPLAY)
                                      : measureNoise(pictureOf(photo, photo.samples()), &control);
  const Chosen chosen = settings.chosenFor(noise.noise);
  const vnr_settings own = chosen.forLibrary(settings.tile);
  const Timer timer;
  Bytes samples = filterPhoto(photo, own, settings.threads, watch);
  const double denoising = timer.seconds(), measuring = noise.seconds;
  const Change change = changeOf(photo, samples);
  const std::optional<std::string> why = whyUnchanged(photo, chosen.parameters(), noise, settings.rule(), change);
  return {std::move(samples),
          {FilterWork{std::move(noise), settings.rule(), chosen.parameters(), own}, measuring, denoising, change, why}};
}

}  // namespace tool::run
