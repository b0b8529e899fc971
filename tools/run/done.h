// What was measured in a picture, what it was denoised with, and what that changed.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "run/change.h"
#include "run/hdr_statistics.h"
#include "run/noise_profile.h"
#include "run/parameters.h"

namespace tool::run {

// Of the pyramid's filters.
struct FilterWork {
  NoiseProfile noise;
  Rule rule;
  Parameters parameters;  // as they were used
  vnr_settings settings;  // likewise, all that the library was told
};

// Of denoise1.
struct HdrWork {
  HdrStatistics statistics;
  int strength;
  bool chromaOnly;
};

using Work = std::variant<FilterWork, HdrWork>;

struct Done {
  Work work;
  double measureSeconds;  // of measuring alone; denoise1 measures once more
  double seconds;         // of denoising
  Change change;
  std::optional<std::string> whyUnchanged;
};

}  // namespace tool::run
