// The plain and the vector form of the luminance stage, and what they share.
#ifndef VESKARO_HDR_LUMINANCE_LUMINANCE_FORMS_H
#define VESKARO_HDR_LUMINANCE_LUMINANCE_FORMS_H

#include "hdr/luminance/luminance.h"
#include "simd/vector_result.h"

namespace veskaro::hdr {

struct LuminanceJob {
  LuminanceSettings settings;
  ConstPicture in;
  Picture out;
  unsigned char* work;
};

namespace plain {

// False, with nothing written, when there is no memory.
bool denoiseLuminance(const LuminanceJob& job);

// Writes pixel i of a row with its own Cb and Cr and a new luminance. One whose new luminance or colour is beyond the
// float range keeps its bytes.
void writePixel(const ExponentTable& table, const ConstRgbeRow& in, int i, float logLuma, const RgbeRow& out);

}  // namespace plain

namespace vectors {

// The same bytes without touching job.work. The plain form has to do it where there are no vectors, with hardly any
// picture, and with settings near the ends of the float range.
simd::VectorResult denoiseLuminance(const LuminanceJob& job);

}  // namespace vectors
}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_LUMINANCE_LUMINANCE_FORMS_H
