// The exported luma and colour-difference transforms.
#include "pixels/colour.h"

#include "VeskaroNRLib.h"

extern "C" {

void RGBtoYCbCr(const float r, const float g, const float b, float* Y, float* Cb, float* Cr) {
  const veskaro::pixels::Ycc p = veskaro::pixels::toYcc({r, g, b});
  *Y = p.y;
  *Cb = p.bMinusY;
  *Cr = p.rMinusY;
}

void YCbCrToRGB(float* r, float* g, float* b, const float Y, const float Cb, const float Cr) {
  const veskaro::pixels::Rgb p = veskaro::pixels::toRgb({Y, Cb, Cr});
  *r = p.r;
  *g = p.g;
  *b = p.b;
}

}  // extern "C"
