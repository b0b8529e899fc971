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
  NoiseProfile noise;     // of a measurement of its own, for what denoise2 does not hand out
  Parameters parameters;  // as denoise2 used them
};

struct HdrWork {
  HdrStatistics statistics;
  int strength;
  bool chromaOnly;
};

using Work = std::variant<PhotoWork, HdrWork>;

struct Done {
  Work work;
  double measureSeconds;  // of the tool's own measurement
  double seconds;         // of denoising, the library's measurement included
  Change change;
  std::optional<std::string> whyUnchanged;
};

}  // namespace tool::run
