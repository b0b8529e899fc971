// The luminance stage of denoise1: smooths the log luminance and keeps each pixel's Cb and Cr.
#ifndef VESKARO_HDR_LUMINANCE_LUMINANCE_H
#define VESKARO_HDR_LUMINANCE_LUMINANCE_H

#include "hdr/rgbe/rgbe.h"

namespace veskaro::hdr {

struct LuminanceSettings {
  bool includeMidTones;  // otherwise only the shadows are denoised
  float shadowsLevel;    // log luminances
  float median;
  float saturationLevel;
  float thresholdScale;  // of the details of the log luminance, before the level's coefficient
};

// work: 3 floats a pixel at any address. Returns the rows written, or NR_ERROR_MEMORY with out untouched.
int denoiseLuminance(const LuminanceSettings& settings, const ConstPicture& in, const Picture& out,
                     unsigned char* work);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_LUMINANCE_LUMINANCE_H
