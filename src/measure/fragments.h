// Blocks that lie across the pieces of a picture, until their last pixel comes.
#ifndef VESKARO_MEASURE_FRAGMENTS_H
#define VESKARO_MEASURE_FRAGMENTS_H

#include <cstddef>
#include <cstdint>

#include "measure/block.h"
#include "platform/heap_array.h"

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
class FragmentsOf {
 public:
  using Fragment = FragmentOf<kSize>;

  FragmentsOf() = default;
  ~FragmentsOf();
  FragmentsOf(const FragmentsOf&) = delete;
  FragmentsOf& operator=(const FragmentsOf&) = delete;

  std::size_t count() const { return count_; }
  const Fragment& operator[](std::size_t i) const { return *all_[i]; }  // in the order of their blocks

  // The one of this block, begun when there is none; null when memory is refused.
  Fragment* of(std::int64_t block);
  void remove(std::int64_t block);

 private:
  std::size_t placeOf(std::int64_t block) const;
  bool makeRoom();

  platform::HeapArray<Fragment*> all_;
  std::size_t count_ = 0, room_ = 0;
};

using Fragment = FragmentOf<kBlockSize>;
using Fragments = FragmentsOf<kBlockSize>;

// How the values of fragments are read: working values as they stand, or linear samples.
pixels::SampleScale fragmentScale(pixels::Encoding encoding);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_FRAGMENTS_H
