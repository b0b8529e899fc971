// One file measured, from its name to its noise.
#pragma once

#include <optional>
#include <string>

#include "pictures/bytes.h"
#include "pictures/layout.h"
#include "run/hdr_statistics.h"
#include "run/noise_profile.h"
#include "run/watch.h"

namespace tool::command {

struct Measured {
  std::string name;
  pictures::Layout layout;
  run::NoiseProfile noise;
  std::optional<run::HdrStatistics> statistics;

  // Pictures without a level come first.
  double level() const { return noise.measured() ? noise.noise.level : -1; }
};

// Throws Failure, or Interrupted.
Measured measureFile(const std::string& name, const run::Watch& watch);
// Bytes that were read from a file of that name.
Measured measureFile(const std::string& name, const pictures::Bytes& file, const run::Watch& watch);

}  // namespace tool::command
