// The chroma stage of denoise1: smooths the chromaticity planes and keeps each pixel's colour sum.
#ifndef VESKARO_HDR_CHROMA_H
#define VESKARO_HDR_CHROMA_H

#include "hdr/planes.h"

namespace veskaro {

struct ChromaJob {
  PictureSize size;
  bool fadeIntoMidTones;  // otherwise only pixels below shadowsLevel change
  float thresholdScale;   // of the chromaticity details
  float shadowsLevel;     // linear colour sums
  float satLevel;
  unsigned char* work;  // 5 floats a pixel, any alignment
  const unsigned char* in;
  unsigned char* out;
};

// Returns the rows written, or NR_ERROR_MEMORY with out untouched.
int DenoiseChroma(const ChromaJob& job);

}  // namespace veskaro

#endif  // VESKARO_HDR_CHROMA_H
