// What the user asks of the denoisers: strength, presets, single parameters.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "run/parameters.h"

namespace tool::run {

// A parameter that the user may set, and its value.
struct Setting {
  std::size_t parameter;
  float value;
};

struct Settings {
  std::string preset = "default";
  std::optional<int> strength;    // 50 to 150; the preset's otherwise
  std::vector<Setting> settings;  // of --set, in order
  bool chromaOnly = false;
  int threads = 1;
  int tile = 256;

  int effectiveStrength() const;
  // True when luminance is to stay as it is, by option or preset.
  bool keepsLuminance() const;
  // The parameters before anything is measured.
  Parameters parameters() const;
};

struct Preset {
  const char* name;
  int strength;
  std::vector<Setting> settings;
};

const std::vector<Preset>& presets();
const Preset* findPreset(const std::string& name);

// Parses "NAME=VALUE". Throws Failure with a sentence that says what is wrong, for the measured parameters too.
Setting parseSetting(const std::string& text);

}  // namespace tool::run
