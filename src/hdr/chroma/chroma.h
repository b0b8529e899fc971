// The chroma stage of denoise1: smooths the chromaticity planes and keeps each pixel's colour sum.
#ifndef VESKARO_HDR_CHROMA_CHROMA_H
#define VESKARO_HDR_CHROMA_CHROMA_H

#include "hdr/rgbe/rgbe.h"

namespace veskaro::hdr {

struct ChromaSettings {
  bool fadeIntoMidTones;  // otherwise only pixels below shadowsLevel change
  float thresholdScale;   // of the chromaticity details
  float shadowsLevel;     // linear colour sums
  float saturationLevel;
};

// work: 5 floats a pixel at any address. Returns the rows written, or NR_ERROR_MEMORY with out untouched.
int denoiseChroma(const ChromaSettings& settings, const ConstPicture& in, const Picture& out, unsigned char* work);

// The same with the result in the picture's place. spare has the picture's size; what it holds afterwards is of no use.
int denoiseChromaInPlace(const ChromaSettings& settings, const Picture& picture, const Picture& spare,
                         unsigned char* work);

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_CHROMA_CHROMA_H
