// The passes over the picture that the search for the percentiles makes: they count the values of its pixels, colour
// sums and luminances. None is negative, so that they are ordered as the bits of their floats are. Black counts as 1.
#ifndef VESKARO_HDR_STATISTICS_COUNTING_H
#define VESKARO_HDR_STATISTICS_COUNTING_H

#include <cstdint>

#include "hdr/statistics/log_percentiles.h"

namespace veskaro::hdr {

// Counts of the values by the upper half of their bits.
constexpr int kCoarseBins = 1 << 15;
struct CoarseHistogram {
  int counts[kCoarseBins];
};

// Counts of the values in a range of bits, kCells cells of 2^shift floats each, and how many lie below it.
struct Bracket {
  static constexpr int kCells = 1 << 16;

  bool holds(std::int32_t bits) const { return bits >= first && bits < end(); }
  std::int32_t end() const {
    const std::int64_t last = first + (std::int64_t{kCells} << shift);
    return last > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(last);
  }

  std::int32_t first = 0;
  int shift = 0;
  std::uint64_t below = 0;
  int* cells = nullptr;
};

struct QuantityCounts {
  Bracket brackets[kPercentiles];
  std::int32_t smallest = INT32_MAX;  // bits of the extremes of the picture
  std::int32_t largest = 0;
};

namespace vectors {

// Whether the functions below may be called.
bool canCount(const PictureSize& size);

// Counts the values of about every stride-th vector of pixels, at random distances so as not to follow a pattern of the
// picture; always the same ones.
void countCoarsely(const ConstPicture& picture, int stride, CoarseHistogram* histograms);

// Counts the values of all pixels in and below the brackets, whose first and shift are given and whose cells are zero.
void countInBrackets(const ConstPicture& picture, QuantityCounts* quantities);

}  // namespace vectors
}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_STATISTICS_COUNTING_H
