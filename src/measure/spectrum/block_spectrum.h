// How the noise of one block of 16 x 16 pixels is spread over frequencies.
#ifndef VESKARO_MEASURE_SPECTRUM_BLOCK_SPECTRUM_H
#define VESKARO_MEASURE_SPECTRUM_BLOCK_SPECTRUM_H

#include "measure/haar/haar_block.h"
#include "pixels/dct.h"

namespace veskaro::measure {

constexpr int kFrequencies = pixels::kDctSize;  // each way
enum SpectrumChannel { kSpectrumY, kSpectrumBMinusY, kSpectrumRMinusY, kSpectrumChannels };

// Mean squares of the coefficients of orthonormal 8 x 8 cosine transforms, at nine places of the block that half
// overlap; a row a vertical frequency. White noise of variance v reads v at every frequency. Values as in HaarBlock.
struct BlockSpectrum {
  float power[kSpectrumChannels][kFrequencies * kFrequencies];
};

// The block whose first pixel is (x, y), all of which the picture holds. False when a sample is infinite or not a
// number; nothing where squares overflow.
bool measureSpectrum(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                     BlockSpectrum* spectrum);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_SPECTRUM_BLOCK_SPECTRUM_H
