// What the stages beyond denoise2's filters are told: patches, dots and shrunk blocks.
#ifndef VESKARO_PARAMS_STAGES_H
#define VESKARO_PARAMS_STAGES_H

namespace veskaro::params {

struct NoiseForStages {
  float luma, chroma;  // deviations of fine details, of black
  float structure;     // of the median block's middle luminance details, noise and picture
  float correlation;   // 0 white, 1 smoothed
  float blotches;      // 0 none, 1 blotches of colour
  float kept;          // share of the luminance reading that is noise and no texture
  bool isLinear;       // deviations of square roots of linear light
};

constexpr int kResiduals = 8;  // frequencies of a block

struct Stages {
  float patch, dotsLuma, dotsChroma, shrinkLuma, shrinkChroma;
  float residualLuma[kResiduals], residualChroma[kResiduals];
};

// The stages for this noise, none without; and in the vector of setBest what the filters are told when these follow.
Stages setStages(const NoiseForStages& noise, float strength, float* vector);

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_STAGES_H
