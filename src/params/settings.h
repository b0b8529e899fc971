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
  float patch = 0.0f;    // share of the mean over 3 x 3 pixels around in the distances
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

// Isolated dots go where their neighbours lie within this of each other; 0: stay.
struct DotSettings {
  float luma = 0.0f, chroma = 0.0f;
  bool areOn() const { return luma > 0.0f || chroma > 0.0f; }
};

constexpr int kBlock = 8;  // edge of the blocks that are shrunk
enum ShrunkChannel { kShrunkY, kShrunkBMinusY, kShrunkRMinusY, kShrunkChannels };

// Blocks of the input shrunk under the guidance of the filtered picture; a channel without power stays as filtered.
struct ShrinkSettings {
  float power[kShrunkChannels][kBlock * kBlock] = {};  // of the noise, times its factor, as black has it
  float residual[kShrunkChannels][kBlock] = {};        // share of what the guide lacks, by frequency
  float slope = 0.0f;                                  // change of the noise's deviation per unit of Y
  bool isOn[kShrunkChannels] = {};
  bool isOnForAny() const { return isOn[0] || isOn[1] || isOn[2]; }
};

// All that the stages of a tile are told.
struct TileSettings {
  NoiseSettings noise[kLevels];
  SharpenSettings sharpen[kLevels];
  ReconstructSettings reconstruct;
  BlendSettings blend;
  DotSettings dots;
  ShrinkSettings shrink;

  // Whether stages look at the blended picture.
  bool haveGuide() const { return dots.areOn() || shrink.isOnForAny(); }
  // Pictures go on beyond their edge as their mirror images; for the filters alone they end in zeros.
  bool mirrorEdges() const { return haveGuide() || noise[0].patch > 0.0f; }
};

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_SETTINGS_H
