// What is known of every block of a picture.
#ifndef VESKARO_MEASURE_BLOCK_TABLE_H
#define VESKARO_MEASURE_BLOCK_TABLE_H

#include <cstdint>

#include "measure/block.h"
#include "measure/selection.h"
#include "platform/heap_array.h"

namespace veskaro::measure {

struct BlockRecord {
  // The first two are what is known of the block; the others say how far it has been taken into account.
  enum Flags : std::uint8_t { kIsSeen = 1, kIsDense = 2, kIsCounted = 4, kIsRanked = 8 };

  float dense;  // second measurement, or not a number where it cannot be made; of a linear block the only one
  float root;   // mean square root of a linear block
  std::uint16_t sparse;
  std::uint8_t average;
  std::uint8_t flags;

  bool isSeen() const { return (flags & kIsSeen) != 0; }
  bool has(Flags flag) const { return (flags & flag) != 0; }
  bool isDense() const { return (flags & kIsDense) != 0; }
};

class BlockTable {
 public:
  BlockTable() = default;
  BlockTable(int width, int height)
      : columns_(blocksAlong(width)),
        rows_(blocksAlong(height)),
        records_(static_cast<std::size_t>(columns_ * rows_), platform::Fill::kZeros) {}

  explicit operator bool() const { return static_cast<bool>(records_); }
  std::int64_t columns() const { return columns_; }
  std::int64_t rows() const { return rows_; }
  std::int64_t count() const { return columns_ * rows_; }
  int xOf(std::int64_t block) const { return static_cast<int>(block % columns_) * kBlockSize; }
  int yOf(std::int64_t block) const { return static_cast<int>(block / columns_) * kBlockSize; }

  BlockRecord& operator[](std::int64_t block) { return records_[static_cast<std::size_t>(block)]; }
  const BlockRecord& operator[](std::int64_t block) const { return records_[static_cast<std::size_t>(block)]; }

 private:
  std::int64_t columns_ = 0, rows_ = 0;
  platform::HeapArray<BlockRecord> records_;
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_BLOCK_TABLE_H
