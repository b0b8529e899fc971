// From the Haar blocks of a picture to its noise: how strong, in luminance and in colour, and whether it is white, has
// been smoothed (by demosaicing, JPEG, scaling) or lies in blotches of colour.
#ifndef VESKARO_MEASURE_HAAR_NOISE_BY_SCALE_H
#define VESKARO_MEASURE_HAAR_NOISE_BY_SCALE_H

#include "measure/haar/haar_blocks.h"
#include "measure/spectrum/block_spectrum.h"

namespace veskaro::measure {

enum class Grain { kUnknown, kMeasured, kTextured };

// Deviations are those of black in a picture whose noise falls by kHighlightFall towards white.
struct NoiseByScale {
  Grain grain = Grain::kUnknown;
  int blocks = 0;
  float luma = 0.0f;          // of fine luminance details
  float chroma = 0.0f;        // of fine colour details
  float coarseChroma = 0.0f;  // of coarse ones
  float correlation = 0.0f;   // 0 white, 1 smoothed
  float blotches = 0.0f;      // 0 none, 1 blotches of colour
  float kept = 1.0f;          // share of the luminance reading that is noise and no texture
  float structure = 0.0f;     // deviation of the median block's middle details, noise and picture
  float sigma[3] = {};        // of red, green and blue at mid grey
  // Of Y, B - Y and R - Y, by frequency: mean squares of an orthonormal cosine transform's coefficients.
  float spectrum[kSpectrumChannels][kFrequencies * kFrequencies] = {};
};

// Linear blocks are brought to the working scale by toWorking, others by 1. False when memory is refused.
bool noiseByScale(const HaarBlocks& blocks, pixels::Encoding encoding, float toWorking, NoiseByScale* noise);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_HAAR_NOISE_BY_SCALE_H
