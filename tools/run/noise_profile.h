// The noise of a picture.
#pragma once

#include <veskaronr.h>

#include <string>
#include <vector>

namespace tool::run {

struct NoiseProfile {
  vnr_noise noise{};
  std::vector<vnr_block> blocks;  // the usable ones
  double seconds = 0;

  bool measured() const { return noise.reason == VNR_MEASURED; }
  // A sentence that says why there is no level; empty when there is one.
  std::string whyNoLevel() const;
  // How the deviations were read: measured, textured or unknown.
  const char* grain() const;
};

// One that was measured in another picture. Throws Failure when that related otherwise to light.
NoiseProfile givenNoise(const vnr_noise& noise, std::int32_t encoding);

// Throws Failure, or Interrupted.
NoiseProfile measureNoise(const vnr_picture& picture, const vnr_control* control);

}  // namespace tool::run
