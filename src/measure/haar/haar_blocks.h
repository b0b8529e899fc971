// The 16 x 16 blocks of one picture that are measured by the Haar transform: all of a small picture, an even sample of
// a big one.
#ifndef VESKARO_MEASURE_HAAR_HAAR_BLOCKS_H
#define VESKARO_MEASURE_HAAR_HAAR_BLOCKS_H

#include <cstdint>

#include "measure/fragments.h"
#include "measure/haar/haar_block.h"
#include "measure/result.h"
#include "measure/spectrum/block_spectrum.h"
#include "measure/spectrum/smoothest_bounds.h"
#include "platform/heap_array.h"
#include "platform/loop.h"

namespace veskaro::measure {

// Which blocks count: every n-th of a row and every n-th or (n - 1)-th row, by the picture's size alone, so that they
// are the same however the picture is cut.
class HaarGrid {
 public:
  HaarGrid(int width, int height);

  int columns() const { return columns_; }
  int rows() const { return rows_; }
  std::int64_t count() const { return std::int64_t{columns_} * rows_; }
  int xOf(int column) const { return column * xStep_; }
  int yOf(int row) const { return row * yStep_; }

  // Columns and rows of the blocks that a region of pixels touches, and of those that lie in it whole.
  pixels::Region touched(const pixels::Region& region) const;
  pixels::Region held(const pixels::Region& region) const;

 private:
  int xStep_ = kHaarBlock, yStep_ = kHaarBlock;  // pixels from a block to the next
  int columns_, rows_;
};

struct HaarRecord {
  HaarBlock block;
  std::uint32_t isSeen;
};

// Of a block that may be among the smoothest.
struct SpectrumRecord {
  std::int64_t block;
  std::uint32_t isMeasured;  // not so after a call that failed
  BlockSpectrum spectrum;
};

using HaarFragment = FragmentOf<kHaarBlock>;

class HaarBlocks {
 public:
  HaarBlocks(int width, int height)
      : grid_(width, height),
        records_(static_cast<std::size_t>(grid_.count()), platform::Fill::kZeros),
        bounds_(grid_.count()) {}

  explicit operator bool() const { return static_cast<bool>(records_); }
  const HaarGrid& grid() const { return grid_; }
  const HaarRecord& operator[](std::int64_t block) const { return records_[static_cast<std::size_t>(block)]; }
  const FragmentsOf<kHaarBlock>& fragments() const { return fragments_; }
  const ByBlock<SpectrumRecord>& spectra() const { return spectra_; }
  const BlockSpectrum* spectrumOf(std::int64_t block) const {  // null when it has none
    const SpectrumRecord* const known = spectra_.find(block);
    return known != nullptr && known->isMeasured != 0 ? &known->spectrum : nullptr;
  }

  // Blocks seen before are left out, so that pieces may overlap.
  Result add(const pixels::PictureView& piece, const pixels::SampleScale& scale, const platform::Control& control);
  // Another's of the same picture and encoding.
  Result merge(const HaarBlocks& other, pixels::Encoding encoding);

  // For one that comes from bytes.
  void restore(std::int64_t block, const HaarRecord& record);
  Result restore(const HaarFragment& fragment, pixels::Encoding encoding);
  Result restore(const SpectrumRecord& spectrum, pixels::Encoding encoding);

 private:
  HaarRecord& record(std::int64_t block) { return records_[static_cast<std::size_t>(block)]; }
  bool measure(const pixels::PictureView& picture, const pixels::SampleScale& scale, int column, int row);
  Result addToFragment(const pixels::PictureView& piece, const pixels::SampleScale& scale, int column, int row);
  Result completeWhenFull(HaarFragment* fragment, pixels::Encoding encoding);

  bool maySpeak(std::int64_t block, pixels::Encoding encoding) const;
  Result addSpectra(const pixels::PictureView& piece, const pixels::SampleScale& scale, const pixels::Region& blocks,
                    const platform::Control& control);
  bool measureSpectrumOf(const pixels::PictureView& picture, const pixels::SampleScale& scale, std::int64_t block);
  bool settleBounds(pixels::Encoding encoding);

  HaarGrid grid_;
  platform::HeapArray<HaarRecord> records_;
  FragmentsOf<kHaarBlock> fragments_;
  ByBlock<SpectrumRecord> spectra_;
  SmoothestBounds bounds_;
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_HAAR_HAAR_BLOCKS_H
