// Which blocks may be among the smoothest when the whole picture is known.
#ifndef VESKARO_MEASURE_SPECTRUM_SMOOTHEST_BOUNDS_H
#define VESKARO_MEASURE_SPECTRUM_SMOOTHEST_BOUNDS_H

#include <cstddef>
#include <cstdint>

#include "measure/haar/haar_block.h"

namespace veskaro::measure {

// A block in the order that chooses the smoothest.
struct RankedBlock {
  double structure;
  std::int64_t block;
  int clipped;  // pixels

  bool isBefore(const RankedBlock& other) const {
    return structure != other.structure ? structure < other.structure : block < other.block;
  }
};

RankedBlock rankedBlock(const HaarBlock& values, std::int64_t block, pixels::Encoding encoding);

// Those chosen are the first `most`, or fewer, of the blocks that are clipped up to some bound. Whatever the bound, a
// block is none of them once so many others come before it and are clipped no more. Blocks that are not told about
// leave these bounds higher, which costs time only.
class SmoothestBounds {
 public:
  explicit SmoothestBounds(std::int64_t blocksOfPicture);

  std::size_t most() const { return most_; }
  bool mayBeChosen(const RankedBlock& b) const { return !last_[b.clipped].isBefore(b); }
  // Whether twice as many blocks are known as the bounds were taken from.
  bool areStale(std::size_t known) const { return known >= 2 * takenFrom_ && known > most_; }
  // From all known blocks, whose order is changed.
  void take(RankedBlock* blocks, std::size_t count);

 private:
  static constexpr int kClippings = kHaarBlock * kHaarBlock + 1;

  std::size_t most_, takenFrom_ = 0;
  RankedBlock last_[kClippings];  // the `most`-th block that is clipped so much or less
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_SPECTRUM_SMOOTHEST_BOUNDS_H
