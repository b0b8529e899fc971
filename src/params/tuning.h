// From the parameter vector to what the stages are told.
#ifndef VESKARO_PARAMS_TUNING_H
#define VESKARO_PARAMS_TUNING_H

#include "params/settings.h"

namespace veskaro::params {

// What is derived from a vector, before a stage takes its part of it.
struct Tuning {
  float similarityRolloff;
  float highlightReduction;  // how much less noise white has than black
  float levelNoise[kLevels];
  float levelAmount[kLevels];
  float sharpening;
  float levelSharpening[kLevels];
  float chromaSharpening;
  float levelChromaSharpening[kLevels];
  BlendSettings blend;
};

constexpr ReconstructSettings kDefaultReconstruct = {10.0f, 50.0f};

void setDefaults(float* vector);

// Any vector gives defined values, one with entries that are not numbers too.
Tuning deriveTuning(const float* vector);

// Levels beyond the pyramid's are taken as the finest.
NoiseSettings noiseSettings(const Tuning& tuning, int level);
SharpenSettings sharpenSettings(const Tuning& tuning, int level);
TileSettings tileSettings(const Tuning& tuning, const ReconstructSettings& reconstruct);

// Change of the noise model per unit of R + G + B, at most 0.
float highlightNoiseSlope(float highlightReduction);

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_TUNING_H
