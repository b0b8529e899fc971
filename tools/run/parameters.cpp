#include "run/parameters.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>

#include "run/library.h"

namespace tool::run {
namespace {

// Whose values follow from the measurement; "best" has the stages beside the filters.
enum MeasuredBy { kNone = 0, kByClassic = 1, kByBest = 2, kByBoth = 3, kByStages = 4 };

struct Description {
  const char* name;
  const char* meaning;
  Range range;  // what makes a picture of some sense: beyond what any rule comes to, on either side
  MeasuredBy measured = kNone;
};

constexpr Range kLevel = {0, 100000}, kFactor = {0, 100}, kShare = {-10, 10}, kAmount = {-10, 10},
                kSharpness = {-100, 100}, kLuminance = {-10000, 10000}, kDistance = {0, 10000};

constexpr std::array<Description, kParameterCount> kDescriptions = {{
    {"noise-level", "luminance noise level", kLevel, kByBoth},
    {"highlight-noise", "noise at white relative to black", {0.01f, 1}},
    {"level0-noise", "noise multiplier, finest level", kFactor},
    {"level1-noise", "noise multiplier, level 1", kFactor, kByBest},
    {"level2-noise", "noise multiplier, level 2", kFactor, kByBest},
    {"level3-noise", "noise multiplier, coarsest level", kFactor, kByBest},
    {"luma-keep", "share of the input's luminance kept", kShare, kByBest},
    {"chroma-keep", "share of the input's chroma kept", kShare, kByBoth},
    {"level0-amount", "noise reduction, finest level", kAmount},
    {"level1-amount", "noise reduction, level 1", kAmount},
    {"level2-amount", "noise reduction, level 2", kAmount},
    {"level3-amount", "noise reduction, coarsest level", kAmount},
    {"sharpening", "luminance sharpening", kSharpness, kByBest},
    {"level0-sharpening", "sharpening multiplier, finest level", kSharpness},
    {"level1-sharpening", "sharpening multiplier, level 1", kSharpness},
    {"level2-sharpening", "sharpening multiplier, level 2", kSharpness},
    {"level3-sharpening", "sharpening multiplier, coarsest level", kSharpness},
    {"highlight-start", "luminance where luminance noise reduction fades", kLuminance, kByClassic},
    {"highlight-width", "width of that fade", kDistance, kByClassic},
    {"chroma-sharpening", "chroma sharpening", kSharpness, kByBest},
    {"recon-similarity-threshold", "colour distance that counts as equal between levels", kDistance},
    {"recon-similarity-rolloff", "further distance over which similarity falls to 0", kDistance},
    {"patch", "share of 3 x 3 neighbours in the finest level's distances", {0, 1}, kByStages},
    {"dots-luma", "luminance dots go where neighbours differ by less", kDistance, kByStages},
    {"dots-chroma", "chroma dots go where neighbours differ by less", kDistance, kByStages},
    {"shrink-luma", "factor on the noise that luminance blocks lose", kFactor, kByStages},
    {"shrink-chroma", "factor on the noise that chroma blocks lose", kFactor, kByStages},
}};

constexpr float kReconThresholdDefault = 10.0f, kReconRolloffDefault = 50.0f;

std::string normalised(std::string name) {
  for (char& c : name) c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name.compare(0, 3, "nr-") == 0 ? name.substr(3) : name;
}

bool wasMeasured(Rule rule, const vnr_noise& noise) {
  return takesGrain(rule) ? noise.luma > 0 : noise.reason == VNR_MEASURED;
}

vnr_settings settingsBy(Rule rule, const vnr_noise& noise, float strength) {
  vnr_settings settings{};
  settings.struct_size = sizeof settings;
  const auto choose = rule == Rule::kBest   ? vnr_settings_best
                      : rule == Rule::kFast ? vnr_settings_fast
                                            : vnr_settings_classic;
  requireDone(choose(&noise, strength, &settings));
  return settings;
}

// What shrinking blocks takes beside its factors, at hand where they are set with a rule that has none.
void takeSpectrum(const vnr_noise& noise, vnr_settings& settings) {
  const vnr_settings best = settingsBy(Rule::kBest, noise, 1);
  std::copy(std::begin(best.residual_luma), std::end(best.residual_luma), settings.residual_luma);
  std::copy(std::begin(best.residual_chroma), std::end(best.residual_chroma), settings.residual_chroma);
  for (std::size_t c = 0; c < std::size(best.spectrum); ++c)
    std::copy(std::begin(best.spectrum[c]), std::end(best.spectrum[c]), settings.spectrum[c]);
}

struct Field {
  std::size_t parameter;
  float vnr_settings::*value;
};
constexpr Field kFields[] = {{kReconThreshold, &vnr_settings::recon_threshold},
                             {kReconRolloff, &vnr_settings::recon_rolloff},
                             {kPatch, &vnr_settings::patch},
                             {kDotsLuma, &vnr_settings::dots_luma},
                             {kDotsChroma, &vnr_settings::dots_chroma},
                             {kShrinkLuma, &vnr_settings::shrink_luma},
                             {kShrinkChroma, &vnr_settings::shrink_chroma}};

float& valueIn(vnr_settings& settings, std::size_t parameter) {
  for (const Field& field : kFields) {
    if (field.parameter == parameter) return settings.*field.value;
  }
  return settings.params[parameter];
}

float defaultOf(std::size_t parameter) {
  if (parameter == kReconThreshold) return kReconThresholdDefault;
  if (parameter == kReconRolloff) return kReconRolloffDefault;
  if (parameter > kReconRolloff) return 0;
  float vector[NR_PARAM_COUNT];
  nr_def(vector);
  return vector[parameter];
}

// Nothing is set yet: a value is measured, the rule's own for every picture, or the default.
Origin originOf(const Parameter& parameter, bool isMeasured) {
  if (isMeasured) return Origin::kMeasured;
  return parameter.value != parameter.byDefault ? Origin::kPreset : Origin::kDefault;
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
    case Origin::kRecipe:
      return "recipe";
  }
  return "";
}

std::optional<std::size_t> indexOfParameter(std::string name) {
  name = normalised(std::move(name));
  const auto found = std::find_if(kDescriptions.begin(), kDescriptions.end(),
                                  [&](const Description& about) { return name == about.name; });
  if (found == kDescriptions.end()) return std::nullopt;
  return static_cast<std::size_t>(found - kDescriptions.begin());
}

const char* nameOfParameter(std::size_t parameter) {
  return kDescriptions[parameter].name;
}

std::string parameterNames() {
  std::string names;
  for (const Description& about : kDescriptions) names += fmt::format("{}{}", names.empty() ? "" : ", ", about.name);
  return names;
}

Range rangeOf(std::size_t parameter) {
  return kDescriptions[parameter].range;
}

Chosen::Chosen(Rule rule, const vnr_noise& noise, int strength)
    : rule_(settingsBy(rule, noise, static_cast<float>(strength) / 100.0f)) {
  const int by = !wasMeasured(rule, noise) ? kNone
                 : rule == Rule::kBest     ? kByBest | kByStages
                 : rule == Rule::kFast     ? kByBest
                                           : kByClassic;
  for (std::size_t i = 0; i < kParameterCount; ++i) {
    const Description& about = kDescriptions[i];
    parameters_[i] = {about.name, about.meaning, defaultOf(i), valueIn(rule_, i), Origin::kDefault};
    parameters_[i].origin = originOf(parameters_[i], (about.measured & by) != 0);
  }
  takeSpectrum(noise, rule_);
}

Chosen::Chosen(const vnr_settings& recipe) : rule_(recipe) {
  for (std::size_t i = 0; i < kParameterCount; ++i)
    parameters_[i] = {kDescriptions[i].name, kDescriptions[i].meaning, defaultOf(i), valueIn(rule_, i),
                      Origin::kRecipe};
}

void Chosen::set(const std::vector<Setting>& settings, Origin origin) {
  for (const Setting& setting : settings) {
    parameters_[setting.parameter].value = setting.value;
    parameters_[setting.parameter].origin = origin;
  }
}

vnr_settings Chosen::forLibrary(int tile) const {
  vnr_settings settings = rule_;
  for (std::size_t i = 0; i < kParameterCount; ++i) valueIn(settings, i) = parameters_[i].value;
  settings.tile = tile;
  return settings;
}

}  // namespace tool::run
