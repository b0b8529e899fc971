// What the stages are told, as values: formed once a call and handed down, so that calls with different settings may
// run at the same time.
#ifndef VESKARO_PARAMS_SETTINGS_H
#define VESKARO_PARAMS_SETTINGS_H

namespace veskaro::params {

constexpr int kLevels = 4;  // of the pyramid, finest first

struct NoiseSettings {
  float rolloff;         // similarity rolloff at black, > 0
  float amount;          // share of the neighbour average that a fully supported pixel takes
  float threshold;       // distance up to which a neighbour has full weight, at black
  float highlightSlope;  // change of the noise model per unit of R + G + B
};

// Whether the filter's kernels may take shortcuts that hold for positive rolloffs and finite thresholds only, as every
// parameter vector of use gives them.
inline bool rolloffsArePositive(const NoiseSettings& s) {
  return s.highlightSlope <= 0.0f && s.highlightSlope >= -0.0013f && s.rolloff > 0.0f && s.rolloff < 1e30f &&
         s.threshold > -1e30f && s.threshold < 1e30f;
}

struct SharpenSettings {
  float luma;
  float chroma;
};

struct ReconstructSettings {
  float threshold;  // colour distance up to which two pixels count as equal
  float rolloff;    // further distance over which their similarity falls to 0
};

struct BlendSettings {
  float luma;    // share of the filtered luminance
  float chroma;  // and of the filtered colour differences
  float highlightLow;
  float highlightHigh;
  float highlightSlope;
  float highlightIntercept;
  float highlightBelow;
  float highlightAbove;
};

// All that the stages of a tile are told.
struct TileSettings {
  NoiseSettings noise[kLevels];
  SharpenSettings sharpen[kLevels];
  ReconstructSettings reconstruct;
  BlendSettings blend;
};

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_SETTINGS_H
