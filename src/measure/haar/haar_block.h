// One block of 16 x 16 pixels by the Haar transform: how much of it is detail, of which scale, direction and colour.
#ifndef VESKARO_MEASURE_HAAR_HAAR_BLOCK_H
#define VESKARO_MEASURE_HAAR_HAAR_BLOCK_H

#include "pixels/picture.h"
#include "pixels/sample_scale.h"

namespace veskaro::measure {

constexpr int kHaarBlock = 16;
constexpr int kScales = 3;           // 2, 4 and 8 pixels, finest first
constexpr int kStructureScales = 2;  // of these, the ones that tell structure

enum Channel { kY, kCb, kCr, kChannels };
enum Pair { kYCb, kYCr, kCbCr, kPairs };

// Mean squares of the orthonormal transform's coefficients: white noise of variance v reads v at every scale. Diagonal
// details are those that pictures have least of; the straight ones (horizontal and vertical, added) tell structure.
// Display: on the working scale. Linear: of the square roots of the samples.
struct HaarBlock {
  float diagonal[kScales][kChannels];
  float product[kScales][kPairs];  // mean products of two channels' diagonal details
  float straight[kStructureScales][kChannels];
  float luma;     // mean Y
  float clipped;  // share of pixels with a channel at the end of the range; linear: at or below black
};

// The block whose first pixel is (x, y), all of which the picture holds. False when a sample is infinite or not a
// number.
bool measureHaar(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y, HaarBlock* block);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_HAAR_HAAR_BLOCK_H
