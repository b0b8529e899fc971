#include "run/settings.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

#include "base/failure.h"

namespace tool::run {
namespace {

std::vector<Setting> noiseReductionAlone(float level0, float level1, float level2, float level3) {
  return {{NR_LUMA_KEEP, 0.0f},      {NR_LEVEL0_NOISE, level0}, {NR_LEVEL1_NOISE, level1},   {NR_LEVEL2_NOISE, level2},
          {NR_LEVEL3_NOISE, level3}, {NR_SHARPENING, 0.0f},     {NR_CHROMA_SHARPENING, 0.0f}};
}

void apply(const std::vector<Setting>& settings, Origin origin, Parameters& parameters) {
  for (const Setting& setting : settings) parameters[setting.parameter].set(setting.value, origin);
}

std::size_t settableParameter(const std::string& name) {
  const std::optional<std::size_t> index = indexOfParameter(name);
  if (!index) throw Failure(fmt::format("there is no parameter \"{}\"; there are {}", name, settableNames()));
  const Parameter parameter = defaultParameters()[*index];
  if (parameter.isMeasured) {
    throw Failure(fmt::format("{} cannot be set: it is measured in every picture, which overwrites it{}",
                              parameter.name, *index == NR_NOISE_LEVEL ? " (--strength scales it)" : ""));
  }
  return *index;
}

float parseValue(const std::string& number, std::size_t parameter) {
  char* end = nullptr;
  const float value = std::strtof(number.c_str(), &end);
  if (number.empty() || *end != '\0' || !std::isfinite(value)) {
    throw Failure(fmt::format("\"{}\" is no number that {} can take", number, defaultParameters()[parameter].name));
  }
  return value;
}

}  // namespace

const std::vector<Preset>& presets() {
  static const std::vector<Preset> all = {
      // The library's own balance.
      {"default", 100, {}},
      // For heavy noise: smooth first, detail second.
      {"strong", 50, noiseReductionAlone(1.0f, 1.0f, 0.5f, 0.25f)},
      // Noise removed as far as fine detail survives.
      {"detail", 50, noiseReductionAlone(0.55f, 0.4f, 0.2f, 0.1f)},
      // Colour blotches only; luminance stays as it is.
      {"chroma-only", 100, {{NR_LUMA_KEEP, 1.0f}, {NR_SHARPENING, 0.0f}, {NR_CHROMA_SHARPENING, 0.0f}}},
  };
  return all;
}

const Preset* findPreset(const std::string& name) {
  for (const Preset& preset : presets()) {
    if (name == preset.name) return &preset;
  }
  return nullptr;
}

int Settings::effectiveStrength() const {
  const Preset* chosen = findPreset(preset);
  return strength.value_or(chosen != nullptr ? chosen->strength : 100);
}

bool Settings::keepsLuminance() const {
  return chromaOnly || preset == "chroma-only";
}

Parameters Settings::parameters() const {
  Parameters parameters = defaultParameters();
  if (const Preset* chosen = findPreset(preset)) apply(chosen->settings, Origin::kPreset, parameters);
  if (chromaOnly) parameters[NR_LUMA_KEEP].set(1.0f, Origin::kSet);
  apply(settings, Origin::kSet, parameters);
  return parameters;
}

Setting parseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) throw Failure(fmt::format("--set takes NAME=VALUE, not \"{}\"", text));
  const std::size_t parameter = settableParameter(text.substr(0, equals));
  return {parameter, parseValue(text.substr(equals + 1), parameter)};
}

}  // namespace tool::run
