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

struct PhotoWork {
  NoiseProfile noise;
  Parameters parameters;  // as they were used
};

struct HdrWork {
  HdrStatistics statistics;
  int strength;
  bool chromaOnly;
};

using Work = std::variant<PhotoWork, HdrWork>;

struct Done {
  Work work;
  double measureSeconds;  // of measuring alone; an HDR picture is measured once more while it is denoised
  double seconds;         // of denoising
  Change change;
  std::optional<std::string> whyUnchanged;
};

}  // namespace tool::run
