#ifndef VESKARO_PARAMS_TUNING_H
#define VESKARO_PARAMS_TUNING_H

namespace veskaro {

// Snapshots of the process-wide tuning variables, taken once per call and handed down, so that no inner loop reads a
// variable that a host may write.

struct NoiseSettings {
  float rolloff;         // similarity rolloff at black, > 0
  float amount;          // share of the neighbour average that a fully supported pixel takes
  float threshold;       // distance up to which a neighbour has full weight, at black
  float highlightSlope;  // change of the noise model per unit of R + G + B
};

// Settings in the range that a parameter vector gives. Kernels may then take shortcuts that hold for positive rolloffs
// and finite thresholds only.
inline bool areOrdinary(const NoiseSettings& s) {
  return s.highlightSlope <= 0.0f && s.highlightSlope >= -0.0013f && s.rolloff > 0.0f && s.rolloff < 1e30f &&
         s.threshold > -1e30f && s.threshold < 1e30f;
}

struct SharpenSettings {
  float luma;
  float chroma;
};

struct ReconstructSettings {
  float threshold;
  float rolloff;
};

struct BlendSettings {
  float luma;
  float chroma;
  float highlightLow;
  float highlightHigh;
  float highlightSlope;
  float highlightIntercept;
  float highlightBelow;
  float highlightAbove;
};

NoiseSettings noiseSettings(int level);
SharpenSettings sharpenSettings(int level);
ReconstructSettings reconstructSettings();
BlendSettings blendSettings();

// Change of the noise model per unit of R + G + B, at most 0.
float highlightNoiseSlope();

void setDefaultParams(float* params);
void deriveTuning(const float* params);

}  // namespace veskaro

#endif  // VESKARO_PARAMS_TUNING_H
