#include "run/settings.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

#include "base/failure.h"

namespace tool::run {
namespace {

constexpr int kStrongest = 150;

// Presets of earlier versions, and what to say today.
struct Former {
  const char* name;
  const char* today;
  const char* why;
};
constexpr Former kFormer[] = {
    {"default", "classic", "has another name"},
    {"detail", "best", "is gone, since another gains more"},
    {"strong", "best", "is gone, since another gains more"},
};

std::size_t parameterNamed(const std::string& name) {
  const std::optional<std::size_t> index = indexOfParameter(name);
  if (!index) throw Failure(fmt::format("there is no parameter \"{}\"; there are {}", name, parameterNames()));
  return *index;
}

float parseValue(const std::string& number, std::size_t parameter) {
  char* end = nullptr;
  const float value = std::strtof(number.c_str(), &end);
  const Range range = rangeOf(parameter);
  if (number.empty() || *end != '\0' || !(value >= range.least && value <= range.most)) {
    throw Failure(fmt::format("\"{}\" is no number from {} to {}, which {} takes", number, range.least, range.most,
                              nameOfParameter(parameter)));
  }
  return value;
}

}  // namespace

const std::vector<Preset>& presets() {
  static const std::vector<Preset> all = {
      // What gains most.
      {"best", Rule::kBest, {}},
      // The filters alone, at twice the speed.
      {"fast", Rule::kFast, {}},
      // What a host gets from denoise2.
      {"classic", Rule::kClassic, {}},
      // Colour blotches only; luminance stays as it is.
      {"chroma-only", Rule::kClassic, {{NR_LUMA_KEEP, 1.0f}, {NR_SHARPENING, 0.0f}, {NR_CHROMA_SHARPENING, 0.0f}}},
  };
  return all;
}

std::string presetNames() {
  std::string names;
  for (const Preset& preset : presets()) names += fmt::format("{}{}", names.empty() ? "" : ", ", preset.name);
  return names;
}

const Preset& findPreset(const std::string& name) {
  for (const Preset& preset : presets()) {
    if (name == preset.name) return preset;
  }
  for (const Former& former : kFormer) {
    if (name == former.name) {
      throw Failure(fmt::format("the preset \"{}\" {}: use --preset {}", name, former.why, former.today));
    }
  }
  throw Failure(fmt::format("there is no preset \"{}\"; there are {}", name, presetNames()));
}

bool Settings::keepsLuminance() const {
  return chromaOnly || (!recipe && preset == "chroma-only");
}

Chosen Settings::chosenFor(const vnr_noise& measured) const {
  Chosen chosen = recipe ? Chosen(*recipe) : Chosen(rule(), measured, strength);
  if (!recipe) chosen.set(findPreset(preset).settings, Origin::kPreset);
  if (chromaOnly) chosen.set({{NR_LUMA_KEEP, 1.0f}, {kDotsLuma, 0.0f}, {kShrinkLuma, 0.0f}}, Origin::kSet);
  chosen.set(settings, Origin::kSet);
  return chosen;
}

void Settings::check() const {
  const int least = findPreset(preset).leastStrength();
  if (strength < least || strength > kStrongest) {
    throw Failure(fmt::format("--strength is {} to {} with --preset {}, not {}", least, kStrongest, preset, strength));
  }
}

Setting parseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) throw Failure(fmt::format("--set takes NAME=VALUE, not \"{}\"", text));
  const std::size_t parameter = parameterNamed(text.substr(0, equals));
  return {parameter, parseValue(text.substr(equals + 1), parameter)};
}

}  // namespace tool::run
