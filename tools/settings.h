// What the user asks of the denoisers: strength, named parameters, presets.
#pragma once

#include <VeskaroNRLib.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tool {

using Params = std::array<float, NR_PARAM_COUNT>;

// A value that a host may set before denoise2: an entry of the parameter vector or one of the two tuning variables
// that the library never writes.
struct Setting {
  std::string name;
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
};

struct Preset {
  const char* name;
  const char* summary;
  int strength;
  std::vector<Setting> settings;
};

const std::vector<Preset>& presets();
const Preset* findPreset(const std::string& name);

struct ParamInfo {
  const char* name;
  const char* summary;
  bool measured;  // denoise2 overwrites it with what it measured
};

// By index of the parameter vector.
const std::array<ParamInfo, NR_PARAM_COUNT>& paramTable();

// Parses "NAME=VALUE"; names may be written luma-keep, luma_keep or NR_LUMA_KEEP. Throws Failure with a sentence that
// says what is wrong, for the measured parameters too.
Setting parseSetting(const std::string& text);

// The parameter vector to hand to denoise2, and the two tuning variables set as asked.
Params prepareParams(const Settings& settings);

}  // namespace tool
