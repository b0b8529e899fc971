#include "api/vnr/settings.h"

#include <cmath>

#include "api/vnr/check.h"
#include "params/noise_level.h"
#include "params/tuning.h"
#include "platform/fp_environment.h"

namespace veskaro::api {
namespace {

constexpr int kSmallestTile = 56;  // the first tile's overlap stays inside the picture
constexpr int kLargestTile = 32768;
constexpr int kUsualTile = 256;

bool areNumbers(const vnr_settings& s) {
  for (const float entry : s.params) {
    if (!std::isfinite(entry)) return false;
  }
  return std::isfinite(s.recon_threshold) && std::isfinite(s.recon_rolloff) && std::isfinite(s.linear_scale);
}

}  // namespace

vnr_noise noiseOf(const measure::Measurement& m, const measure::Noise& noise) {
  const bool isMeasured = noise.reason == measure::Reason::kMeasured;
  const auto reason = isMeasured                                        ? VNR_MEASURED
                      : noise.reason == measure::Reason::kNoUsableBlock ? VNR_NO_USABLE_BLOCK
                                                                        : VNR_NO_CONTRAST;
  return {sizeof(vnr_noise),
          reason,
          m.encoding() == pixels::Encoding::kLinear ? VNR_LINEAR : VNR_DISPLAY,
          isMeasured ? params::noiseLevelOf(noise.statistic) : 0.0f,
          isMeasured ? noise.statistic : 0.0f,
          noise.linearScale,
          m.table().count(),
          noise.seen,
          noise.usable};
}

vnr_settings classicSettings(const vnr_noise* noise, float strength) {
  vnr_settings s = {};
  s.struct_size = sizeof(s);
  s.recon_threshold = params::kDefaultReconstruct.threshold;
  s.recon_rolloff = params::kDefaultReconstruct.rolloff;
  s.linear_scale = noise != nullptr && noise->linear_scale > 0.0f ? noise->linear_scale : 1.0f;
  s.tile = kUsualTile;
  s.rounding = VNR_ROUND_AUTO;
  if (noise != nullptr && noise->reason == VNR_MEASURED) {
    params::setDefaults(s.params);
    params::setMeasured(params::withStrength(noise->level, strength), s.params);
  } else {
    params::setUnmeasured(strength, s.params);
  }
  // Square roots have the same noise at every brightness.
  if (noise != nullptr && noise->encoding == VNR_LINEAR) s.params[NR_HIGHLIGHT_NOISE] = 1.0f;
  return s;
}

int checkSettings(const vnr_settings* given, vnr_settings* settings) {
  const int taken = takeStruct(given, settings);
  if (taken != VNR_OK) return taken;
  const vnr_settings& s = *settings;
  const bool inRange = s.tile >= kSmallestTile && s.tile <= kLargestTile && s.rounding >= VNR_ROUND_AUTO &&
                       s.rounding <= VNR_ROUND_NONE && s.linear_scale > 0.0f;
  return inRange && areNumbers(s) ? VNR_OK : VNR_ERROR_SETTINGS;
}

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
