// What people choose in every plug-in, as settings of the library.
#pragma once

#include "veskaronr.h"

namespace plugin {

enum Preset { kFast = 0, kBest = 1, kClassic = 2 };  // in the order in which the plug-ins list them

struct Choice {
  int preset = kFast;
  double strength = 1.0;   // 0.5 to 1.5; but for classic at least 0.6. What lies outside counts as the nearest
  double luminance = 1.0;  // share of the filtered luminance, 0 to 1
  double colour = 1.0;     // likewise, of chroma

  bool operator==(const Choice& other) const;
};

// A value within its bounds; the fallback if it is not a number.
double bounded(double value, double least, double most, double fallback);

// The settings for a picture's noise; a vnr_result.
int settingsFor(const Choice& choice, const vnr_noise& noise, vnr_settings* settings);

}  // namespace plugin
