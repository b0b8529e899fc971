// The way from a strength to the settings of the stages, and the stages in order.
#ifndef VESKARO_HDR_DENOISE1_H
#define VESKARO_HDR_DENOISE1_H

#include "hdr/rgbe/rgbe.h"

namespace veskaro::hdr {

struct HdrSettings {
  bool chromaOnly;
  bool midTonesToo;  // otherwise the shadows alone
  float chromaThreshold;
  float luminanceThreshold;  // per unit of the log luminance's range
};

HdrSettings settingsOfStrength(int strength);

// Lines have to hold both taps of the coarsest level, and offsets to fit an int.
bool sizeAccepted(const PictureSize& size);

// picture receives the chroma-denoised picture unless the settings ask for chroma only. Returns the rows written or a
// negative nr_result.
int denoiseHdr(const HdrSettings& settings, const Picture& picture, const Picture& result);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_DENOISE1_H
