// The way from a strength to the settings of the stages, and the stages in order.
#ifndef VESKARO_HDR_DENOISE1_H
#define VESKARO_HDR_DENOISE1_H

#include "hdr/planes.h"

namespace veskaro {

struct HdrSettings {
  bool chromaOnly;
  bool strong;  // the mid-tones too
  float chromaThreshold;
  float luminanceThreshold;  // per unit of the log luminance's range
};

HdrSettings settingsOfStrength(int strength);

// picture receives the chroma-denoised picture unless the settings ask for chroma only. Returns the rows written or a
// negative nr_result.
int denoiseHdr(const HdrSettings& settings, const PictureSize& size, unsigned char* picture, unsigned char* result);

}  // namespace veskaro

#endif  // VESKARO_HDR_DENOISE1_H
