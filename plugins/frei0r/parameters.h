// The filter's parameters as frei0r has them: numbers from 0 to 1.
#pragma once

#include "common/choice.h"

namespace plugin {

enum ParameterIndex { kPresetAt, kStrengthAt, kLuminanceAt, kColourAt, kHoldAt, kParameterCount };

struct ParameterText {
  const char* name;
  bool isSwitch;
  const char* explanation;
};

extern const ParameterText kParameterTexts[kParameterCount];

struct Parameters {
  double values[kParameterCount] = {0.0, 0.5, 1.0, 1.0, 0.0};

  // What lies outside counts as the nearest; what is not a number, and an index that is none, changes nothing.
  void set(int index, double value);
  Choice choice() const;
  bool holds() const { return values[kHoldAt] >= 0.5; }
};

}  // namespace plugin
