#include "frei0r/parameters.h"

namespace plugin {
namespace {

// 0 to 1 as 0.6 to 1.5, with 1 in the middle.
double strengthOf(double value) {
  return value < 0.5 ? 0.6 + 0.8 * value : 0.5 + value;
}

}  // namespace

const ParameterText kParameterTexts[kParameterCount] = {
    {"Preset", false, "0: fast; 0.5: best, gains most and takes longest; 1: classic"},
    {"Strength", false, "of the noise reduction: 0 is 0.6 times, 0.5 is once, 1 is 1.5 times the measured noise"},
    {"Luminance", false, "share of the luminance that is filtered; 0 keeps the brightness of every pixel"},
    {"Colour", false, "share of the colour that is filtered; 0 keeps the colour of every pixel"},
    {"Hold", true, "filter the whole clip with the noise of the first frame instead of following it"},
};

void Parameters::set(int index, double value) {
  if (index < 0 || index >= kParameterCount) return;
  values[index] = bounded(value, 0.0, 1.0, values[index]);
}

Choice Parameters::choice() const {
  Choice choice;
  choice.preset = values[kPresetAt] < 0.25 ? kFast : (values[kPresetAt] < 0.75 ? kBest : kClassic);
  choice.strength = strengthOf(values[kStrengthAt]);
  choice.luminance = values[kLuminanceAt];
  choice.colour = values[kColourAt];
  return choice;
}

}  // namespace plugin
