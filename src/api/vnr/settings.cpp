#include "api/vnr/settings.h"

#include <cmath>
#include <cstring>

#include "api/vnr/check.h"
#include "params/best.h"
#include "params/noise_level.h"
#include "params/stages.h"
#include "params/tuning.h"
#include "platform/fp_environment.h"
#include "tiled/tile_geometry.h"

namespace veskaro::api {
namespace {

constexpr int kLargestTile = 32768;
constexpr int kUsualTile = 256;

template <class Floats, class Test>
bool allOf(const Floats& values, const Test& test) {
  for (const float v : values) {
    if (!test(v)) return false;
  }
  return true;
}

bool isNumber(float v) {
  return std::isfinite(v);
}
bool isNotNegative(float v) {
  return std::isfinite(v) && v >= 0.0f;
}
bool arePowers(const float (&spectrum)[3][64]) {
  for (const auto& channel : spectrum) {
    if (!allOf(channel, isNotNegative)) return false;
  }
  return true;
}

bool areNumbers(const vnr_settings& s) {
  return allOf(s.params, isNumber) && isNumber(s.recon_threshold) && isNumber(s.recon_rolloff) &&
         isNumber(s.linear_scale);
}

// Of the stages beyond denoise2's filters.
bool areStages(const vnr_settings& s) {
  return s.patch >= 0.0f && s.patch <= 1.0f && isNotNegative(s.dots_luma) && isNotNegative(s.dots_chroma) &&
         isNotNegative(s.shrink_luma) && isNotNegative(s.shrink_chroma) && allOf(s.residual_luma, isNumber) &&
         allOf(s.residual_chroma, isNumber) && arePowers(s.spectrum);
}

int reasonOf(measure::Reason reason) {
  return reason == measure::Reason::kMeasured        ? VNR_MEASURED
         : reason == measure::Reason::kNoUsableBlock ? VNR_NO_USABLE_BLOCK
                                                     : VNR_NO_CONTRAST;
}

void takeByScale(const measure::NoiseByScale& from, vnr_noise* noise) {
  noise->grain = from.grain == measure::Grain::kUnknown    ? VNR_GRAIN_UNKNOWN
                 : from.grain == measure::Grain::kMeasured ? VNR_GRAIN_MEASURED
                                                           : VNR_GRAIN_TEXTURED;
  noise->grain_blocks = from.blocks;
  for (int k = 0; k < 3; ++k) noise->sigma[k] = from.sigma[k];
  noise->correlation = from.correlation;
  noise->blotches = from.blotches;
  noise->luma = from.luma;
  noise->chroma = from.chroma;
  noise->coarse_chroma = from.coarseChroma;
  noise->texture_guard = from.kept;
  noise->structure = from.structure;
  std::memcpy(noise->spectrum, from.spectrum, sizeof(noise->spectrum));
}

vnr_settings usualSettings(float linearScale, int rounding) {
  vnr_settings s = {};
  s.struct_size = sizeof(s);
  s.recon_threshold = params::kDefaultReconstruct.threshold;
  s.recon_rolloff = params::kDefaultReconstruct.rolloff;
  s.linear_scale = linearScale;
  s.tile = kUsualTile;
  s.rounding = rounding;
  return s;
}

float scaleOf(const vnr_noise* noise) {
  return noise != nullptr && noise->linear_scale > 0.0f ? noise->linear_scale : 1.0f;
}

// Square roots have the same noise at every brightness.
void evenOutLinear(const vnr_noise& noise, vnr_settings* settings) {
  if (noise.encoding == VNR_LINEAR) settings->params[NR_HIGHLIGHT_NOISE] = 1.0f;
}

// What a measurement may tell, whoever told it.
bool isMeasurement(const vnr_noise& n) {
  const auto isShare = [](float v) { return v >= 0.0f && v <= 1.0f; };
  return isNotNegative(n.luma) && isNotNegative(n.chroma) && isNotNegative(n.coarse_chroma) &&
         isNotNegative(n.structure) && isShare(n.correlation) && isShare(n.blotches) && isShare(n.texture_guard) &&
         isNumber(n.linear_scale) && arePowers(n.spectrum);
}

}  // namespace

vnr_noise noiseOf(const measure::Measurement& m, const measure::Noise& noise) {
  vnr_noise n = {};
  n.struct_size = sizeof(n);
  n.reason = reasonOf(noise.reason);
  n.encoding = m.encoding() == pixels::Encoding::kLinear ? VNR_LINEAR : VNR_DISPLAY;
  if (n.reason == VNR_MEASURED) {
    n.level = params::noiseLevelOf(noise.statistic);
    n.statistic = noise.statistic;
  }
  n.linear_scale = noise.linearScale;
  n.blocks = m.table().count();
  n.blocks_seen = noise.seen;
  n.blocks_usable = noise.usable;
  takeByScale(noise.byScale, &n);
  return n;
}

vnr_settings classicSettings(const vnr_noise* noise, float strength) {
  vnr_settings s = usualSettings(scaleOf(noise), VNR_ROUND_AUTO);
  if (noise != nullptr && noise->reason == VNR_MEASURED) {
    params::setDefaults(s.params);
    params::setMeasured(params::withStrength(noise->level, strength), s.params);
  } else {
    params::setUnmeasured(strength, s.params);
  }
  if (noise != nullptr) evenOutLinear(*noise, &s);
  return s;
}

vnr_settings fastSettings(const vnr_noise& noise, float strength) {
  vnr_settings s = usualSettings(scaleOf(&noise), VNR_ROUND_FINEST);
  params::setBest({noise.luma, noise.coarse_chroma, noise.structure, noise.correlation, noise.blotches,
                   noise.texture_guard, noise.encoding == VNR_LINEAR},
                  strength, s.params);
  evenOutLinear(noise, &s);
  return s;
}

vnr_settings bestSettings(const vnr_noise& noise, float strength) {
  vnr_settings s = fastSettings(noise, strength);
  const params::Stages stages = params::setStages({noise.luma, noise.chroma, noise.structure, noise.correlation,
                                                   noise.blotches, noise.texture_guard, noise.encoding == VNR_LINEAR},
                                                  strength, s.params);
  s.patch = stages.patch;
  s.dots_luma = stages.dotsLuma;
  s.dots_chroma = stages.dotsChroma;
  s.shrink_luma = stages.shrinkLuma;
  s.shrink_chroma = stages.shrinkChroma;
  std::memcpy(s.residual_luma, stages.residualLuma, sizeof(s.residual_luma));
  std::memcpy(s.residual_chroma, stages.residualChroma, sizeof(s.residual_chroma));
  std::memcpy(s.spectrum, noise.spectrum, sizeof(s.spectrum));
  return s;
}

int checkSettings(const vnr_settings* given, vnr_settings* settings) {
  const int taken = takeStruct(given, settings);
  if (taken != VNR_OK) return taken;
  const vnr_settings& s = *settings;
  const bool inRange = s.tile >= tiled::kSmallestUnitTile && s.tile <= kLargestTile && s.rounding >= VNR_ROUND_AUTO &&
                       s.rounding <= VNR_ROUND_FINEST && s.linear_scale > 0.0f;
  return inRange && areNumbers(s) && areStages(s) ? VNR_OK : VNR_ERROR_SETTINGS;
}

namespace {

int settingsByGrain(vnr_settings (*rule)(const vnr_noise&, float), const vnr_noise* noise, float strength,
                    vnr_settings* settings) {
  vnr_noise own;
  const int taken = takeStruct(noise, &own);
  if (taken != VNR_OK) return taken;
  const platform::DefaultFpEnvironment environment;
  if (!isMeasurement(own) || !params::isBestStrength(strength)) return VNR_ERROR_SETTINGS;
  return giveStruct(rule(own, strength), settings);
}

}  // namespace
}  // namespace veskaro::api

int vnr_settings_classic(const vnr_noise* noise, float strength, vnr_settings* settings) {
  using namespace veskaro;
  vnr_noise own;
  if (noise != nullptr) {
    const int taken = api::takeStruct(noise, &own);
    if (taken != VNR_OK) return taken;
    if (!std::isfinite(own.level) || !std::isfinite(own.linear_scale)) return VNR_ERROR_SETTINGS;
  }
  const platform::DefaultFpEnvironment environment;
  return api::giveStruct(api::classicSettings(noise != nullptr ? &own : nullptr, strength), settings);
}

int vnr_settings_fast(const vnr_noise* noise, float strength, vnr_settings* settings) {
  return veskaro::api::settingsByGrain(veskaro::api::fastSettings, noise, strength, settings);
}

int vnr_settings_best(const vnr_noise* noise, float strength, vnr_settings* settings) {
  return veskaro::api::settingsByGrain(veskaro::api::bestSettings, noise, strength, settings);
}
