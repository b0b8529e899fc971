#include "run/denoise_linear.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "base/timer.h"
#include "pictures/rgbe.h"
#include "run/library.h"

namespace tool::run {
namespace {

using pictures::HdrPicture;
using pictures::Light;

// Suns and lamps, beyond this many times the picture's scale: they pass as they are, and are cut off for the filters,
// whose means next to them would leave nothing of what is dim.
constexpr float kFarBeyondScale = 20.0f;
// The same before there is a scale: beyond this many times what 99 % of the pixels that are not black stay below. One
// infinite pixel would make its whole block bright.
constexpr float kFarBeyondMost = 100.0f;
// Times the scale: a quarter of a step of 255 as a square root.
constexpr float kTrace = 1e-6f;

vnr_picture pictureOf(const Light& light, vnr_encoding encoding) {
  vnr_picture picture = vnr_interleaved(VNR_FLOAT32, light.width, light.height, light.channels, light.samples.data(),
                                        static_cast<std::ptrdiff_t>(light.channels) * light.width);
  picture.encoding = encoding;
  return picture;
}

// A pixel's samples, of a picture that is grey or in colour.
struct Pixel {
  float* samples;
  std::size_t channels;

  float most() const { return *std::max_element(samples, samples + channels); }
  float luma() const {
    return channels == 1 ? samples[0] : 0.299f * samples[0] + 0.587f * samples[1] + 0.114f * samples[2];
  }
  // Settings far from any sense can come to anything, and a picture of floats may hold anything.
  bool isFinite() const {
    return std::all_of(samples, samples + channels, [](float v) { return std::isfinite(v); });
  }
  void fill(float value) const { std::fill_n(samples, channels, value); }
  void take(const Pixel& other) const { std::copy_n(other.samples, channels, samples); }
};

// Calls visit(index, pixel) for each pixel.
template <typename Visit>
void forEachPixel(const Light& light, Visit visit) {
  const std::size_t channels = static_cast<std::size_t>(light.channels);
  float* const samples = const_cast<float*>(light.samples.data());
  for (std::size_t i = 0; i < light.pixels(); ++i) visit(i, Pixel{samples + i * channels, channels});
}

// The filters leave the luminance of the square roots; this is that of light.
void takeLuma(const Pixel& from, const Pixel& pixel) {
  for (std::size_t c = 0; c < pixel.channels; ++c) pixel.samples[c] = std::max(pixel.samples[c], 0.0f);
  const float luma = pixel.luma(), factor = luma > 0 ? from.luma() / luma : 0.0f;
  for (std::size_t c = 0; c < pixel.channels; ++c) pixel.samples[c] *= factor;
}

Light cutOff(const Light& light, float most) {
  Light cut = light;
  for (float& v : cut.samples) v = std::min(v, most);
  return cut;
}

// What is no number has no place among the filters' means: black, and as bright as can be.
Light cleaned(const Light& light) {
  Light clean = light;
  for (float& v : clean.samples) v = std::isnan(v) ? 0.0f : std::clamp(v, -FLT_MAX, FLT_MAX);
  return clean;
}

// Where nothing was, the traces that coarse levels carry there are nothing too.
void keepBlack(float trace, const Pixel& pixel) {
  if (pixel.most() < trace) pixel.fill(0.0f);
}

// What is far beyond, what is black and, if that is asked for, luminance stay as they were.
void keepInLight(const Light& before, const vnr_settings& settings, const Light& after) {
  const float far = kFarBeyondScale * settings.linear_scale, trace = kTrace * settings.linear_scale;
  forEachPixel(after, [&](std::size_t i, const Pixel& pixel) {
    const Pixel was{const_cast<float*>(&before.samples[i * pixel.channels]), pixel.channels};
    const float most = was.most();
    if (most > far || !pixel.isFinite())
      pixel.take(was);
    else if (most == 0)
      keepBlack(trace, pixel);
    else if (settings.params[NR_LUMA_KEEP] == 1)
      takeLuma(was, pixel);
  });
}

// Pixels that hold what is no number stay as they were.
void keepUnfiltered(const Light& before, const Light& after) {
  forEachPixel(before, [&](std::size_t i, const Pixel& was) {
    const Pixel pixel{const_cast<float*>(&after.samples[i * was.channels]), was.channels};
    if (!was.isFinite() || !pixel.isFinite()) pixel.take(was);
  });
}

Light forMeasuring(const Light& light) {
  std::vector<float> most;
  forEachPixel(light, [&](std::size_t, const Pixel& pixel) {
    if (pixel.most() > 0) most.push_back(pixel.most());
  });
  if (most.empty()) return light;
  const auto usual = most.begin() + static_cast<std::ptrdiff_t>(most.size() / 100 * 99);
  std::nth_element(most.begin(), usual, most.end());
  return cutOff(light, kFarBeyondMost * *usual);
}

NoiseProfile measure(const Light& light, vnr_encoding encoding, const vnr_control* control) {
  const auto measured = [&](const Light& own) { return measureNoise(pictureOf(own, encoding), control); };
  return measured(encoding == VNR_LINEAR ? forMeasuring(light) : light);
}

Light filtered(const Light& light, vnr_encoding encoding, const vnr_settings& settings, const vnr_control& control) {
  const Plan plan = beginPlan(light.width, light.height, settings);
  Light after = light;
  const Light cut = encoding == VNR_LINEAR ? cutOff(light, kFarBeyondScale * settings.linear_scale) : Light();
  const vnr_picture in = pictureOf(encoding == VNR_LINEAR ? cut : light, encoding), out = pictureOf(after, encoding);
  requireDone(vnr_plan_filter(plan.get(), &in, &out, &control));
  if (encoding == VNR_LINEAR) keepInLight(light, settings, after);
  return after;
}

// What would come out as it went in stays the same to the byte, RGBE that is written otherwise than here too.
bool keepsAll(const vnr_settings& settings) {
  const bool hasStages =
      settings.dots_luma > 0 || settings.dots_chroma > 0 || settings.shrink_luma > 0 || settings.shrink_chroma > 0;
  return settings.params[NR_LUMA_KEEP] == 1 && settings.params[NR_CHROMA_KEEP] == 1 && !hasStages;
}

struct Filtered {
  std::optional<Light> after;  // nothing: as before
  NoiseProfile noise;
  Parameters parameters;
  vnr_settings used;
  double seconds;
};

Filtered filter(const Light& light, vnr_encoding encoding, const Settings& settings, const Watch& watch) {
  StripProgress progress{watch};
  const vnr_control control = controlOf(settings.threads, progress);
  NoiseProfile noise = settings.noise ? givenNoise(*settings.noise, encoding) : measure(light, encoding, &control);
  const Chosen chosen = settings.chosenFor(noise.noise);
  const vnr_settings own = chosen.forLibrary(settings.tile);
  const Timer timer;
  std::optional<Light> after;
  if (!keepsAll(own)) after = filtered(light, encoding, own, control);
  return {std::move(after), std::move(noise), chosen.parameters(), own, timer.seconds()};
}

Done doneOf(Filtered& filtered, const Settings& settings, const Change& change) {
  const double measuring = filtered.noise.seconds;
  const std::optional<std::string> why = whyUnchanged(filtered.noise, change);
  return {FilterWork{std::move(filtered.noise), settings.rule(), filtered.parameters, filtered.used}, measuring,
          filtered.seconds, change, why};
}

bool holdsOnlyNumbers(const Light& light) {
  return std::all_of(light.samples.begin(), light.samples.end(), [](float v) { return std::isfinite(v); });
}

// denoise1 works on RGBE alone.
DenoisedLight throughRgbe(const pictures::LightPicture& picture, const Settings& settings, const Watch& watch) {
  const HdrPicture hdr = pictures::toRadiance(picture);
  DenoisedHdr denoised = denoiseHdr(hdr, settings, watch);
  HdrPicture after = hdr;
  after.planar = std::move(denoised.planar);
  return {pictures::lightOf(after, picture.light.channels), std::move(denoised.done)};
}

}  // namespace

DenoisedHdr denoiseLinear(const HdrPicture& picture, const Settings& settings, const Watch& watch) {
  Filtered filtered = filter(pictures::lightOf(picture, 3), VNR_LINEAR, settings, watch);
  pictures::Bytes planar = filtered.after ? pictures::fromLight(*filtered.after) : picture.planar;
  const Change change = changeOf(picture, planar);
  return {std::move(planar), doneOf(filtered, settings, change)};
}

DenoisedLight denoiseLight(const pictures::LightPicture& picture, const Settings& settings, const Watch& watch) {
  if (!settings.displayReferred && settings.rule() != Rule::kBest) return throughRgbe(picture, settings, watch);
  const Light& light = picture.light;
  const bool isClean = holdsOnlyNumbers(light);
  Filtered filtered =
      filter(isClean ? light : cleaned(light), settings.displayReferred ? VNR_DISPLAY : VNR_LINEAR, settings, watch);
  Light after = filtered.after ? std::move(*filtered.after) : light;
  if (!isClean) keepUnfiltered(light, after);
  const Change change = changeOf(light, after);
  return {std::move(after), doneOf(filtered, settings, change)};
}

NoiseProfile measureLight(const Light& light, const Watch& watch) {
  StripProgress progress{watch};
  const vnr_control control = controlOf(watch.pool->threads(), progress);
  return measure(holdsOnlyNumbers(light) ? light : cleaned(light), VNR_LINEAR, &control);
}

}  // namespace tool::run
