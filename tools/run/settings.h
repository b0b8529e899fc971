// What the user asks of the denoisers: strength, presets, single parameters.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "run/parameters.h"

namespace tool::run {

struct Preset {
  const char* name;
  Rule rule;
  std::vector<Setting> settings;

  int leastStrength() const { return takesGrain(rule) ? 60 : 50; }
};

const std::vector<Preset>& presets();

// In a row.
std::string presetNames();

// Throws Failure with a sentence that says what there is instead.
const Preset& findPreset(const std::string& name);

struct Settings {
  std::string preset = "best";
  int strength = 100;             // from the preset's least to 150
  std::vector<Setting> settings;  // of --set, in order
  bool chromaOnly = false;
  int threads = 1;
  int tile = 256;

  std::shared_ptr<const vnr_noise> noise;      // to denoise by, instead of the picture's own
  std::shared_ptr<const vnr_settings> recipe;  // instead of preset, strength and noise

  Rule rule() const { return recipe ? Rule::kBest : findPreset(preset).rule; }
  // True when luminance is to stay as it is, by option or preset.
  bool keepsLuminance() const;
  // The parameters for this noise: the rule's, then the preset's own, then what was set.
  Chosen chosenFor(const vnr_noise& measured) const;
  // Throws Failure with a sentence that says what is wrong.
  void check() const;
};

// Parses "NAME=VALUE". Throws Failure with a sentence that says what is wrong.
Setting parseSetting(const std::string& text);

}  // namespace tool::run
