#include "run/parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "run/library.h"

namespace tool::run {
namespace {

struct Description {
  const char* name;
  const char* meaning;
  bool isMeasured = false;
};

constexpr std::array<Description, kParameterCount> kDescriptions = {{
    {"noise-level", "luminance noise level", true},
    {"highlight-noise", "noise at white relative to black"},
    {"level0-noise", "noise multiplier, finest level"},
    {"level1-noise", "noise multiplier, level 1"},
    {"level2-noise", "noise multiplier, level 2"},
    {"level3-noise", "noise multiplier, coarsest level"},
    {"luma-keep", "share of the input's luminance kept"},
    {"chroma-keep", "share of the input's chroma kept", true},
    {"level0-amount", "noise reduction, finest level"},
    {"level1-amount", "noise reduction, level 1"},
    {"level2-amount", "noise reduction, level 2"},
    {"level3-amount", "noise reduction, coarsest level"},
    {"sharpening", "luminance sharpening"},
    {"level0-sharpening", "sharpening multiplier, finest level"},
    {"level1-sharpening", "sharpening multiplier, level 1"},
    {"level2-sharpening", "sharpening multiplier, level 2"},
    {"level3-sharpening", "sharpening multiplier, coarsest level"},
    {"highlight-start", "luminance where luminance noise reduction fades", true},
    {"highlight-width", "width of that fade", true},
    {"chroma-sharpening", "chroma sharpening"},
    {"recon-similarity-threshold", "colour distance that counts as equal between levels"},
    {"recon-similarity-rolloff", "further distance over which similarity falls to 0"},
}};

constexpr float kReconThresholdDefault = 10.0f, kReconRolloffDefault = 50.0f;

std::string normalised(std::string name) {
  for (char& c : name) c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name.compare(0, 3, "nr-") == 0 ? name.substr(3) : name;
}

}  // namespace

const char* nameOf(Origin origin) {
  switch (origin) {
    case Origin::kDefault:
      return "default";
    case Origin::kPreset:
      return "preset";
    case Origin::kSet:
      return "set";
    case Origin::kMeasured:
      return "measured";
  }
  return "";
}

Parameters defaultParameters() {
  float vector[NR_PARAM_COUNT];
  nr_def(vector);
  Parameters parameters;
  for (std::size_t i = 0; i < kParameterCount; ++i) {
    const float byDefault = i == kReconThreshold ? kReconThresholdDefault
                            : i == kReconRolloff ? kReconRolloffDefault
                                                 : vector[i];
    const Description& about = kDescriptions[i];
    parameters[i] = {about.name, about.meaning, about.isMeasured, byDefault, byDefault, Origin::kDefault};
  }
  return parameters;
}

std::optional<std::size_t> indexOfParameter(std::string name) {
  name = normalised(std::move(name));
  const auto found = std::find_if(kDescriptions.begin(), kDescriptions.end(),
                                  [&](const Description& about) { return name == about.name; });
  if (found == kDescriptions.end()) return std::nullopt;
  return static_cast<std::size_t>(found - kDescriptions.begin());
}

std::string settableNames() {
  std::string names;
  for (const Description& about : kDescriptions) {
    if (!about.isMeasured) names += fmt::format("{}{}", names.empty() ? "" : ", ", about.name);
  }
  return names;
}

vnr_settings librarySettings(const Parameters& asked, const vnr_noise& noise, int strength, int tile) {
  vnr_settings settings{};
  settings.struct_size = sizeof settings;
  requireDone(vnr_settings_classic(&noise, static_cast<float>(strength) / 100.0f, &settings));
  for (std::size_t i = 0; i < NR_RESERVED && noise.reason == VNR_MEASURED; ++i) {
    if (!asked[i].isMeasured) settings.params[i] = asked[i].value;
  }
  settings.recon_threshold = asked[kReconThreshold].value;
  settings.recon_rolloff = asked[kReconRolloff].value;
  settings.tile = tile;
  return settings;
}

Parameters usedParameters(const Parameters& asked, const vnr_settings& settings, bool measured) {
  Parameters parameters = asked;
  for (std::size_t i = 0; i < NR_RESERVED; ++i) {
    Parameter& parameter = parameters[i];
    const Origin origin = !measured ? Origin::kDefault : parameter.isMeasured ? Origin::kMeasured : parameter.origin;
    parameter.set(settings.params[i], origin);
  }
  return parameters;
}

}  // namespace tool::run
