// The plain and the vector form of the chroma stage, and what they share.
#ifndef VESKARO_HDR_CHROMA_CHROMA_FORMS_H
#define VESKARO_HDR_CHROMA_CHROMA_FORMS_H

#include "hdr/chroma/chroma.h"
#include "simd/vector_result.h"

namespace veskaro::hdr {

struct ChromaJob {
  ChromaSettings settings;
  ConstPicture in;
  Picture out;
  Picture spare;  // a picture's memory to work in: out, before it is written, unless out is the input itself
  bool isInPlace;
  unsigned char* work;
};

// The threshold of a level's details.
float chromaThreshold(const ChromaSettings& settings, int level);

// How much of the smoothed chromaticity a pixel takes, by its colour sum: all below shadows, none from saturation on.
struct ChromaLevels {
  explicit ChromaLevels(const ChromaSettings& settings);

  bool fade;  // in between, along a line; otherwise none there either
  float shadows;
  float saturation;
  float slope;
};

namespace plain {

// False, with nothing written, when there is no memory.
bool denoiseChroma(const ChromaJob& job);

// Each channel's share of the colour sum. Black, and a sum beyond the float range, have none: they enter the smoothing
// as 0 and so spread nothing but their absence.
Rgb chromaticity(const Rgb& colour);

// Writes pixel i of a row, given its smoothed chromaticity. One whose colour sum or result is beyond the float range
// keeps its bytes.
void writePixel(const ChromaLevels& levels, const ExponentTable& table, const ConstRgbeRow& in, int i,
                const Rgb& smoothedRatio, const RgbeRow& out);

}  // namespace plain

namespace vectors {

// The same bytes without touching job.work. The plain form has to do it where there are no vectors, and with settings
// that no picture asks for.
simd::VectorResult denoiseChroma(const ChromaJob& job);

}  // namespace vectors
}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_CHROMA_CHROMA_FORMS_H
