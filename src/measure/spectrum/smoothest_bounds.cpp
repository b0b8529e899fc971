#include "measure/spectrum/smoothest_bounds.h"

#include <algorithm>
#include <limits>

#include "measure/haar/structure.h"
#include "measure/spectrum/noise_spectrum.h"

namespace veskaro::measure {

RankedBlock rankedBlock(const HaarBlock& values, std::int64_t block, pixels::Encoding encoding) {
  constexpr float kPixels = kHaarBlock * kHaarBlock;
  return {structureOf(values) * evenFactor(values, encoding), block, static_cast<int>(values.clipped * kPixels)};
}

SmoothestBounds::SmoothestBounds(std::int64_t blocksOfPicture) : most_(spectrumBlocks(blocksOfPicture)) {
  for (RankedBlock& last : last_) last = {std::numeric_limits<double>::infinity(), 0, 0};
}

// Blocks that are clipped more see all that those see that are clipped less, so the full counts are those at the end.
void SmoothestBounds::take(RankedBlock* blocks, std::size_t count) {
  std::sort(blocks, blocks + count, [](const RankedBlock& a, const RankedBlock& b) { return a.isBefore(b); });
  std::size_t before[kClippings] = {};
  int open = kClippings;
  for (std::size_t i = 0; i < count && open > 0; ++i) {
    for (int clipped = blocks[i].clipped; clipped < open; ++clipped) ++before[clipped];
    for (; open > 0 && before[open - 1] == most_; --open) last_[open - 1] = blocks[i];
  }
  takenFrom_ = count;
}

}  // namespace veskaro::measure
