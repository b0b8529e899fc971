// Blocks that lie across the pieces of a picture, until their last pixel comes.
#ifndef VESKARO_MEASURE_FRAGMENTS_H
#define VESKARO_MEASURE_FRAGMENTS_H

#include <cstddef>
#include <cstdint>

#include "measure/block.h"
#include "measure/by_block.h"

namespace veskaro::measure {

template <int kSize>
struct FragmentOf {
  std::int64_t block;
  std::uint32_t filled[kSize];    // a bit a pixel, a word a row
  float values[3][kSize][kSize];  // display: working values; linear: the samples

  bool isFull() const;
  // As a picture, whose first pixel is (x, y) of the whole one.
  pixels::PictureView view(int x, int y);

  // Takes what the piece holds of the block, whose first pixel is (x, y). False when a sample is not a number.
  bool fill(int x, int y, const pixels::PictureView& piece, const pixels::SampleScale& scale);
  // Takes what another fragment of the block holds.
  void fill(const FragmentOf& other);
};

template <int kSize>
using FragmentsOf = ByBlock<FragmentOf<kSize>>;

using Fragment = FragmentOf<kBlockSize>;
using Fragments = FragmentsOf<kBlockSize>;

// How the values of fragments are read: working values as they stand, or linear samples.
pixels::SampleScale fragmentScale(pixels::Encoding encoding);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_FRAGMENTS_H
