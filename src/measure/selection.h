// From the blocks of a picture to its noise: split at the median brightness into shadows and highlights, the smoothest
// of each half measured again, and the mean of the lowest few is the statistic.
#ifndef VESKARO_MEASURE_SELECTION_H
#define VESKARO_MEASURE_SELECTION_H

#include <cstddef>
#include <cstdint>

namespace veskaro::measure {

constexpr int kMostOfHalf = 32;  // candidates taken from each half
constexpr int kDeciding = 4;     // candidates whose mean is the statistic

// A usable block.
struct UsableBlock {
  float deviation;  // evened out over brightness
  int average;
  std::int64_t index;  // row-major
};

// The smoothest blocks of both halves, smoothest first, equal ones in the order of their indices.
struct Candidates {
  int median = 0;                       // the average of rank count / 2: below it are shadows
  int perHalf = 0;                      // 0: no shadow or no highlight block
  UsableBlock blocks[2 * kMostOfHalf];  // perHalf shadows, then as many highlights

  int count() const { return 2 * perHalf; }
};

// Brings the blocks into another order.
Candidates selectCandidates(UsableBlock* blocks, std::size_t count);

// The candidates' second measurement, evened out; those that are not a number have no say.
struct Decision {
  bool isMade = false;
  float statistic = 0.0f;
  int deciding[kDeciding];  // indices of candidates
  int decidingCount = 0;
};

Decision decide(const float* evenedOut, int count);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_SELECTION_H
