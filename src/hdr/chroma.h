// The chroma stage of denoise1: smooths the chromaticity planes and keeps each pixel's colour sum.
#ifndef VESKARO_HDR_CHROMA_H
#define VESKARO_HDR_CHROMA_H

#include "hdr/planes.h"
#include "hdr/rgbe.h"

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
  unsigned char* inPlace;  // null, or in: the result then replaces the picture, and out holds nothing of use
};

// Each channel's share of the colour sum. Black, and a sum beyond the float range, have none: they enter the smoothing
// as 0 and so spread nothing but their absence.
Rgb chromaticity(const Rgb& colour);

// Writes pixel i of a row, given its smoothed chromaticity. One whose colour sum or result is beyond the float range
// keeps its bytes.
void writePixel(const ChromaJob& job, const ExponentTable& table, const ConstRgbeRow& in, int i, const Rgb& ratio,
                const RgbeRow& out);

// Returns the rows written, or NR_ERROR_MEMORY with out untouched.
int denoiseChroma(const ChromaJob& job);

}  // namespace veskaro

#endif  // VESKARO_HDR_CHROMA_H
