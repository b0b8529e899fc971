// One block of 32 x 32 pixels, measured twice: on a sparse grid, which tells how bright it is and roughly how smooth,
// and along interior lines, which tells how much its neighbouring pixels differ. Both look at working values cut off to
// whole numbers from 0 to 255.
#ifndef VESKARO_MEASURE_BLOCK_H
#define VESKARO_MEASURE_BLOCK_H

#include <cstdint>

#include "pixels/picture.h"
#include "pixels/sample_scale.h"

namespace veskaro::measure {

constexpr int kBlockSize = 32;
constexpr int kFirstDifferences = 96;  // that the sparse grid looks at

inline std::int64_t blocksAlong(int pixels) {
  return pixels > 0 ? pixels / kBlockSize : 0;
}

// Asks for the lines of memory that the block at (x, y), or what the piece holds of it, lies in: its rows are too far
// apart for the processor to foresee the next one.
void prefetchBlock(const pixels::PictureView& piece, int x, int y);

// What the sparse grid shows. Average 0 stands for a block without any difference too: neither says a thing about
// noise.
struct SparseMeasurement {
  int deviation;  // sum of 96 differences, made up for clipped samples; at most 36720
  int average;    // 0 to 255
};

// The block whose first pixel is (x, y). False when a sample that was read is infinite or not a number.
bool measureSparsely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                     SparseMeasurement* measured);

// The mean difference along three interior lines in each direction of a block of any size from 4, times
// 6 (blockSize - 1)^2. Not a number when every pair of neighbours is clipped.
bool measureDensely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y, int blockSize,
                    float* deviation);

// A block of linear samples, by the square roots that its noise is even in: their mean, and the mean difference along
// the same interior lines.
struct RootMeasurement {
  float mean;
  float deviation;
};
bool measureRoots(const pixels::PictureView& picture, int x, int y, RootMeasurement* measured);

// Noise falls with brightness: the sparse deviation is divided by 1 at black and by 0.2 (single precision) at white.
float evenedOut(int deviation, int average);

// The dense one too, as the mean difference of a pair.
float evenedOut(float denseDeviation, int average);

inline bool isUsable(int average) {
  constexpr int kLowest = 4, kHighest = 251;
  return average >= kLowest && average <= kHighest;
}

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_BLOCK_H
