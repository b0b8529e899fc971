#include "run/denoise_linear.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/timer.h"
#include "pictures/rgbe.h"
#include "run/library.h"

namespace tool::run {
namespace {

using pictures::HdrPicture;
using Light = std::vector<float>;

// Suns and lamps, beyond this many times the picture's scale: they pass as they are, and are cut off for the filters,
// whose means next to them would leave nothing of what is dim.
constexpr float kFarBeyondScale = 20.0f;
// The same before there is a scale: beyond this many times what 99 % of the pixels that are not black stay below. One
// infinite pixel would make its whole block bright.
constexpr float kFarBeyondMost = 100.0f;
// Times the scale: a quarter of a step of 255 as a square root.
constexpr float kTrace = 1e-6f;

vnr_picture pictureOf(const HdrPicture& picture, const Light& light) {
  vnr_picture linear =
      vnr_interleaved(VNR_FLOAT32, picture.width, picture.height, 3, light.data(), std::ptrdiff_t{3} * picture.width);
  linear.encoding = VNR_LINEAR;
  return linear;
}

float mostOf(const float* rgb) {
  return std::max({rgb[0], rgb[1], rgb[2]});
}

float lumaOf(const float* rgb) {
  return 0.299f * rgb[0] + 0.587f * rgb[1] + 0.114f * rgb[2];
}

// The filters leave the luminance of the square roots; this is that of light.
void takeLuma(const float* from, float* rgb) {
  for (std::size_t c = 0; c < 3; ++c) rgb[c] = std::max(rgb[c], 0.0f);
  const float luma = lumaOf(rgb);
  const float factor = luma > 0 ? lumaOf(from) / luma : 0.0f;
  for (std::size_t c = 0; c < 3; ++c) rgb[c] *= factor;
}

Light cutOff(const Light& light, float most) {
  Light cut(light.size());
  std::transform(light.begin(), light.end(), cut.begin(), [most](float v) { return std::min(v, most); });
  return cut;
}

// Settings far from any sense can come to anything.
bool areFinite(const float* rgb) {
  return std::isfinite(rgb[0]) && std::isfinite(rgb[1]) && std::isfinite(rgb[2]);
}

// Where nothing was, the traces that coarse levels carry there are nothing too.
void keepBlack(float trace, float* rgb) {
  if (mostOf(rgb) < trace) std::fill_n(rgb, 3, 0.0f);
}

// What is far beyond, what is black and, if that is asked for, luminance stay as they were.
void keep(const Light& before, const vnr_settings& settings, Light& after) {
  const float far = kFarBeyondScale * settings.linear_scale, trace = kTrace * settings.linear_scale;
  for (std::size_t i = 0; i < before.size(); i += 3) {
    const float most = mostOf(&before[i]);
    if (most > far || !areFinite(&after[i]))
      std::copy_n(&before[i], 3, &after[i]);
    else if (most == 0)
      keepBlack(trace, &after[i]);
    else if (settings.params[NR_LUMA_KEEP] == 1)
      takeLuma(&before[i], &after[i]);
  }
}

Light forMeasuring(const Light& light) {
  Light most;
  for (std::size_t i = 0; i < light.size(); i += 3) {
    if (mostOf(&light[i]) > 0) most.push_back(mostOf(&light[i]));
  }
  if (most.empty()) return light;
  const auto usual = most.begin() + static_cast<std::ptrdiff_t>(most.size() / 100 * 99);
  std::nth_element(most.begin(), usual, most.end());
  return cutOff(light, kFarBeyondMost * *usual);
}

NoiseProfile measure(const HdrPicture& picture, const Light& light, const vnr_control* control) {
  return measureNoise(pictureOf(picture, forMeasuring(light)), control);
}

Light filtered(const HdrPicture& picture, const Light& light, const vnr_settings& settings,
               const vnr_control& control) {
  const Plan plan = beginPlan(picture.width, picture.height, settings);
  const Light cut = cutOff(light, kFarBeyondScale * settings.linear_scale);
  Light after(light.size());
  const vnr_picture in = pictureOf(picture, cut), out = pictureOf(picture, after);
  requireDone(vnr_plan_filter(plan.get(), &in, &out, &control));
  keep(light, settings, after);
  return after;
}

// What would come out as it went in stays the same to the byte, RGBE that is written otherwise than here too.
bool keepsAll(const vnr_settings& settings) {
  const bool hasStages =
      settings.dots_luma > 0 || settings.dots_chroma > 0 || settings.shrink_luma > 0 || settings.shrink_chroma > 0;
  return settings.params[NR_LUMA_KEEP] == 1 && settings.params[NR_CHROMA_KEEP] == 1 && !hasStages;
}

}  // namespace

DenoisedHdr denoiseLinear(const HdrPicture& picture, const Settings& settings, const Watch& watch) {
  StripProgress progress{watch};
  const vnr_control control = controlOf(settings.threads, progress);
  const Light light = pictures::toLight(picture);
  NoiseProfile noise = settings.noise ? givenNoise(*settings.noise, VNR_LINEAR) : measure(picture, light, &control);
  const Chosen chosen = settings.chosenFor(noise.noise);
  const vnr_settings own = chosen.forLibrary(settings.tile);
  const Timer timer;
  pictures::Bytes planar = picture.planar;
  if (!keepsAll(own))
    planar = pictures::fromLight(filtered(picture, light, own, control), picture.width, picture.height);
  const double denoising = timer.seconds(), measuring = noise.seconds;
  const Change change = changeOf(picture, planar);
  const std::optional<std::string> why = whyUnchanged(noise, change);
  return {std::move(planar),
          {FilterWork{std::move(noise), settings.rule(), chosen.parameters(), own}, measuring, denoising, change, why}};
}

NoiseProfile measureLight(const HdrPicture& picture, const Watch& watch) {
  StripProgress progress{watch};
  const vnr_control control = controlOf(watch.pool->threads(), progress);
  return measure(picture, pictures::toLight(picture), &control);
}

}  // namespace tool::run
