#include "settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "failure.h"

namespace tool {
namespace {

constexpr char kReconThreshold[] = "recon-similarity-threshold";
constexpr char kReconRolloff[] = "recon-similarity-rolloff";
constexpr float kReconThresholdDefault = 10.0f, kReconRolloffDefault = 50.0f;

std::string normalised(std::string name) {
  for (char& c : name) c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name.compare(0, 3, "nr-") == 0 ? name.substr(3) : name;
}

int indexOf(const std::string& name) {
  const auto& table = paramTable();
  const auto found = std::find_if(table.begin(), table.end(), [&](const ParamInfo& info) { return name == info.name; });
  return found == table.end() ? -1 : static_cast<int>(found - table.begin());
}

std::string settableNames() {
  std::string names;
  for (const ParamInfo& info : paramTable()) {
    if (!info.measured && &info != &paramTable()[NR_RESERVED]) names += fmt::format("{}, ", info.name);
  }
  return names + kReconThreshold + ", " + kReconRolloff;
}

void apply(const std::vector<Setting>& settings, Params& params) {
  for (const Setting& setting : settings) {
    if (setting.name == kReconThreshold) {
      reconSimilarityThreshold = setting.value;
    } else if (setting.name == kReconRolloff) {
      reconSimilarityRolloff = setting.value;
    } else {
      params[static_cast<std::size_t>(indexOf(setting.name))] = setting.value;
    }
  }
}

}  // namespace

const std::array<ParamInfo, NR_PARAM_COUNT>& paramTable() {
  static const std::array<ParamInfo, NR_PARAM_COUNT> table = {{
      {"noise-level", "luminance noise level", true},
      {"highlight-noise", "noise at white relative to black", false},
      {"level0-noise", "noise multiplier, finest level", false},
      {"level1-noise", "noise multiplier, level 1", false},
      {"level2-noise", "noise multiplier, level 2", false},
      {"level3-noise", "noise multiplier, coarsest level", false},
      {"luma-keep", "share of the input's luminance kept", false},
      {"chroma-keep", "share of the input's chroma kept", true},
      {"level0-amount", "noise reduction, finest level", false},
      {"level1-amount", "noise reduction, level 1", false},
      {"level2-amount", "noise reduction, level 2", false},
      {"level3-amount", "noise reduction, coarsest level", false},
      {"sharpening", "luminance sharpening", false},
      {"level0-sharpening", "sharpening multiplier, finest level", false},
      {"level1-sharpening", "sharpening multiplier, level 1", false},
      {"level2-sharpening", "sharpening multiplier, level 2", false},
      {"level3-sharpening", "sharpening multiplier, coarsest level", false},
      {"highlight-start", "luminance where luminance noise reduction fades", true},
      {"highlight-width", "width of that fade", true},
      {"chroma-sharpening", "chroma sharpening", false},
      {"reserved", "read by nothing", false},
  }};
  return table;
}

Setting parseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) throw Failure(fmt::format("--set takes NAME=VALUE, not \"{}\"", text));
  const std::string name = normalised(text.substr(0, equals));
  const std::string number = text.substr(equals + 1);
  const int index = indexOf(name);
  if (index >= 0 && paramTable()[static_cast<std::size_t>(index)].measured) {
    throw Failure(fmt::format("{} cannot be set: it is measured in every picture, which overwrites it{}", name,
                              index == NR_NOISE_LEVEL ? " (--strength scales it)" : ""));
  }
  if ((index < 0 && name != kReconThreshold && name != kReconRolloff) || index == NR_RESERVED) {
    throw Failure(fmt::format("there is no parameter \"{}\"; there are {}", text.substr(0, equals), settableNames()));
  }
  char* end = nullptr;
  const float value = std::strtof(number.c_str(), &end);
  if (number.empty() || *end != '\0' || !std::isfinite(value)) {
    throw Failure(fmt::format("\"{}\" is no number that {} can take", number, name));
  }
  return {name, value};
}

const std::vector<Preset>& presets() {
  // All luminance from the filter, nothing sharpened, and most of the noise sought in the fine levels: the coarse
  // levels of a photograph hold more of its detail than of its noise. docs/veskaro-nr.md has the measurements.
  const auto removing = [](float level0, float level1, float level2, float level3) {
    return std::vector<Setting>{{"luma-keep", 0.0f},        {"level0-noise", level0}, {"level1-noise", level1},
                                {"level2-noise", level2},   {"level3-noise", level3}, {"sharpening", 0.0f},
                                {"chroma-sharpening", 0.0f}};
  };
  static const std::vector<Preset> all = {
      {"default", "the library's own balance", 100, {}},
      {"strong", "for heavy noise: smooth first, detail second", 50, removing(1.0f, 1.0f, 0.5f, 0.25f)},
      {"detail", "noise removed as far as fine detail survives", 50, removing(0.55f, 0.4f, 0.2f, 0.1f)},
      {"chroma-only",
       "colour blotches only; luminance stays as it is",
       100,
       {{"luma-keep", 1.0f}, {"sharpening", 0.0f}, {"chroma-sharpening", 0.0f}}},
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

Params prepareParams(const Settings& settings) {
  Params params;
  nr_def(params.data());
  reconSimilarityThreshold = kReconThresholdDefault;
  reconSimilarityRolloff = kReconRolloffDefault;
  if (const Preset* preset = findPreset(settings.preset)) apply(preset->settings, params);
  if (settings.chromaOnly) params[NR_LUMA_KEEP] = 1.0f;
  apply(settings.settings, params);
  params[NR_NOISE_LEVEL] = static_cast<float>(settings.effectiveStrength()) / 100.0f;
  return params;
}

}  // namespace tool
