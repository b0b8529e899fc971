// The noise of a photograph.
#pragma once

#include <veskaronr.h>

#include <string>
#include <vector>

#include "pictures/photo.h"

namespace tool::run {

struct NoiseProfile {
  vnr_noise noise{};
  std::vector<vnr_block> blocks;  // the usable ones
  double seconds = 0;

  bool measured() const { return noise.reason == VNR_MEASURED; }
  // A sentence that says why defaults are used; empty when they are not.
  std::string whyDefaults() const;
};

// Throws Failure, or Interrupted.
NoiseProfile measureNoise(const pictures::Photo& photo, const vnr_control* control);

}  // namespace tool::run
