// Blocks that lie across the pieces of a picture, until their last pixel comes.
#ifndef VESKARO_MEASURE_FRAGMENTS_H
#define VESKARO_MEASURE_FRAGMENTS_H

#include <cstddef>
#include <cstdint>

#include "measure/block.h"
#include "platform/heap_array.h"

namespace veskaro::measure {

struct Fragment {
  std::int64_t block;
  std::uint32_t filled[kBlockSize];         // a bit a pixel, a word a row
  float values[3][kBlockSize][kBlockSize];  // display: working values; linear: the samples

  bool isFull() const;
  // As a picture, whose first pixel is (x, y) of the whole one.
  pixels::PictureView view(int x, int y);
};

class Fragments {
 public:
  Fragments() = default;
  ~Fragments();
  Fragments(const Fragments&) = delete;
  Fragments& operator=(const Fragments&) = delete;

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

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_FRAGMENTS_H
