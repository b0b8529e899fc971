#include "measure/measurement.h"

#include <algorithm>
#include <cmath>

namespace veskaro::measure {
namespace {

// Working values as they stand.
const pixels::SampleScale kWorkingValues =
    pixels::floatScale(255.0f, pixels::Encoding::kDisplay, 1.0f, pixels::Rounding::kNone);

Result resultOf(platform::LoopResult loop) {
  switch (loop) {
    case platform::LoopResult::kDone:
      return Result::kDone;
    case platform::LoopResult::kBadItem:
      return Result::kNotANumber;
    case platform::LoopResult::kCancelled:
      return Result::kCancelled;
    default:
      return Result::kExecutorFailed;
  }
}

// What a fragment holds of a sample: see Fragment::values.
template <typename Sample>
float fragmentValue(const unsigned char* at, const pixels::SampleScale& scale) {
  const float v = static_cast<float>(pixels::loadSample<Sample>(at));
  if (sizeof(Sample) < sizeof(float)) return (v < scale.white ? v : scale.white) * scale.toWorking;
  return scale.encoding == pixels::Encoding::kLinear ? v : pixels::toWorking(v, scale);
}

// One channel of one row of a fragment. False when a sample is not a number.
template <typename Sample>
bool fillRow(const unsigned char* from, std::ptrdiff_t stride, int pixels, const pixels::SampleScale& scale,
             float* to) {
  bool onlyNumbers = true;
  for (int x = 0; x < pixels; ++x, from += stride) {
    to[x] = fragmentValue<Sample>(from, scale);
    onlyNumbers = onlyNumbers && (sizeof(Sample) < sizeof(float) || std::isfinite(to[x]));
  }
  return onlyNumbers;
}

// Copies the pixels of a region of the piece, all of which lie in the fragment.
template <typename Sample>
bool fill(Fragment* fragment, int xBlock, int yBlock, const pixels::Region& region, const pixels::PictureView& piece,
          const pixels::SampleScale& scale) {
  const int column = region.x0 - xBlock, count = region.x1 - region.x0;
  const std::uint32_t filled = 0xffffffffu >> (kBlockSize - count) << column;
  bool onlyNumbers = true;
  for (int y = region.y0; y < region.y1; ++y) {
    for (int k = 0; k < 3; ++k) {
      float* const to = fragment->values[k][y - yBlock] + column;
      onlyNumbers &= fillRow<Sample>(piece.at(k, region.x0, y), piece.pixelStride, count, scale, to);
    }
    fragment->filled[y - yBlock] |= filled;
  }
  return onlyNumbers;
}

// Blocks that a piece touches, and those that lie in it whole.
pixels::Region blocksTouched(const pixels::Region& r, const BlockTable& table) {
  const auto end = [](int x, std::int64_t blocks) {
    return static_cast<int>(std::min<std::int64_t>((std::int64_t{x} + kBlockSize - 1) / kBlockSize, blocks));
  };
  return {r.x0 / kBlockSize, end(r.x1, table.columns()), r.y0 / kBlockSize, end(r.y1, table.rows())};
}

pixels::Region blocksHeld(const pixels::Region& r, const BlockTable& table) {
  const auto start = [](int x) { return static_cast<int>((std::int64_t{x} + kBlockSize - 1) / kBlockSize); };
  const auto end = [](int x, std::int64_t blocks) {
    return static_cast<int>(std::min<std::int64_t>(x / kBlockSize, blocks));
  };
  return {start(r.x0), end(r.x1, table.columns()), start(r.y0), end(r.y1, table.rows())};
}

template <class Visit>
void forEachBlock(const pixels::Region& blocks, const BlockTable& table, const Visit& visit) {
  for (std::int64_t row = blocks.y0; row < blocks.y1; ++row) {
    for (std::int64_t column = blocks.x0; column < blocks.x1; ++column) visit(row * table.columns() + column);
  }
}

}  // namespace

bool Measurement::begins(pixels::Encoding encoding) {
  if (!isBegun_) begin(encoding);
  return encoding_ == encoding;
}

Result Measurement::add(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                        const platform::Control& control) {
  if (!begins(scale.encoding)) return Result::kOtherPicture;
  const pixels::Region whole = blocksHeld(piece.region, table_);
  const Result added = addWholeBlocks(piece, scale, whole, control);
  forEachBlock(whole, table_, [this](std::int64_t block) { markSeen(block); });
  if (added != Result::kDone) return added;
  const Result fragments = addToFragments(piece, scale, whole);
  if (fragments != Result::kDone) return fragments;
  return encoding_ == pixels::Encoding::kLinear ? Result::kDone : measureAgain(piece, scale, whole, control);
}

Result Measurement::addWholeBlocks(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                                   const pixels::Region& blocks, const platform::Control& control) {
  if (blocks.isEmpty()) return Result::kDone;
  return resultOf(platform::forEachItem(control, blocks.y1 - blocks.y0, [&](std::int64_t row) {
    for (std::int64_t column = blocks.x0; column < blocks.x1; ++column) {
      const std::int64_t block = (blocks.y0 + row) * table_.columns() + column;
      if (!table_[block].isSeen() && !measureBlock(piece, scale, block)) return false;
    }
    return true;
  }));
}

bool Measurement::measureBlock(const pixels::PictureView& piece, const pixels::SampleScale& scale, std::int64_t block) {
  BlockRecord& record = table_[block];
  if (encoding_ == pixels::Encoding::kLinear) {
    RootMeasurement roots;
    if (!measureRoots(piece, table_.xOf(block), table_.yOf(block), &roots)) return false;
    record = {roots.deviation, roots.mean, 0, 0, BlockRecord::kIsSeen | BlockRecord::kIsDense};
  } else {
    SparseMeasurement sparse;
    if (!measureSparsely(piece, scale, table_.xOf(block), table_.yOf(block), &sparse)) return false;
    record = {0.0f, 0.0f, static_cast<std::uint16_t>(sparse.deviation), static_cast<std::uint8_t>(sparse.average),
              BlockRecord::kIsSeen};
  }
  return true;
}

// Counts a block that has been measured, once.
void Measurement::markSeen(std::int64_t block) {
  BlockRecord& record = table_[block];
  if (!record.isSeen() || record.has(BlockRecord::kIsCounted)) return;
  record.flags |= BlockRecord::kIsCounted;
  ++seen_;
  fragments_.remove(block);
}

// Lets a block bring the bounds down, once. Bounds that miss some blocks are too high, which costs time only.
void Measurement::rank(std::int64_t block) {
  BlockRecord& record = table_[block];
  if (!record.isSeen() || record.has(BlockRecord::kIsRanked) || !isUsable(record.average)) return;
  record.flags |= BlockRecord::kIsRanked;
  smoothest_.add(record.average, evenedOut(record.sparse, record.average));
}

Result Measurement::addToFragments(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                                   const pixels::Region& whole) {
  Result result = Result::kDone;
  std::int64_t fetched = -1;
  forEachBlock(blocksTouched(piece.region, table_), table_, [&](std::int64_t block) {
    const int column = static_cast<int>(block % table_.columns()), row = static_cast<int>(block / table_.columns());
    if (whole.contains({column, column + 1, row, row + 1}) || table_[block].isSeen()) return;
    prefetchBlock(piece, table_.xOf(block), table_.yOf(block));
    if (fetched >= 0 && result == Result::kDone) result = addToFragment(piece, scale, fetched);
    fetched = block;
  });
  return fetched >= 0 && result == Result::kDone ? addToFragment(piece, scale, fetched) : result;
}

Result Measurement::addToFragment(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                                  std::int64_t block) {
  Fragment* const fragment = fragments_.of(block);
  if (fragment == nullptr) return Result::kNoMemory;
  const int x = table_.xOf(block), y = table_.yOf(block);
  const pixels::Region part = pixels::intersection(piece.region, {x, x + kBlockSize, y, y + kBlockSize});
  const bool onlyNumbers = pixels::withSampleType(
      piece.type, [&](auto sample) { return fill<decltype(sample)>(fragment, x, y, part, piece, scale); });
  if (!onlyNumbers) {
    fragments_.remove(block);
    return Result::kNotANumber;
  }
  return fragment->isFull() ? complete(fragment) : Result::kDone;
}

// Measures a block whose last pixel has come, and lets its pixels go.
Result Measurement::complete(Fragment* fragment) {
  const std::int64_t block = fragment->block;
  const int x = table_.xOf(block), y = table_.yOf(block);
  const pixels::PictureView view = fragment->view(x, y);
  measureBlock(view, kWorkingValues, block);
  BlockRecord& record = table_[block];
  if (wantsDense(block)) {
    measureDensely(view, kWorkingValues, x, y, kBlockSize, &record.dense);
    record.flags |= BlockRecord::kIsDense;
  }
  markSeen(block);
  return Result::kDone;
}

bool Measurement::wantsDense(std::int64_t block) const {
  const BlockRecord& r = table_[block];
  return r.isSeen() && !r.isDense() && isUsable(r.average) &&
         smoothest_.mayBecomeCandidate(r.average, evenedOut(r.sparse, r.average));
}

// The second measurement of the blocks that may become candidates, while their pixels are at hand; once all blocks are
// known, of the candidates.
Result Measurement::measureAgain(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                                 const pixels::Region& blocks, const platform::Control& control) {
  const auto measureDense = [&](std::int64_t block) {
    BlockRecord& record = table_[block];
    if (!measureDensely(piece, scale, table_.xOf(block), table_.yOf(block), kBlockSize, &record.dense)) return false;
    record.flags |= BlockRecord::kIsDense;
    return true;
  };
  if (seen_ == table_.count()) {
    Noise found;
    if (!noise(&found)) return Result::kNoMemory;
    return resultOf(platform::forEachItem(control, found.candidates.count(), [&](std::int64_t k) {
      const std::int64_t block = found.candidates.blocks[k].index;
      return table_[block].isDense() || measureDense(block);
    }));
  }
  forEachBlock(blocks, table_, [this](std::int64_t block) { rank(block); });
  smoothest_.settle();
  return resultOf(platform::forEachItem(control, blocks.isEmpty() ? 0 : blocks.y1 - blocks.y0, [&](std::int64_t row) {
    std::int64_t fetched = -1;
    for (std::int64_t column = blocks.x0; column < blocks.x1; ++column) {
      const std::int64_t block = (blocks.y0 + row) * table_.columns() + column;
      if (!wantsDense(block)) continue;
      prefetchBlock(piece, table_.xOf(block), table_.yOf(block));
      if (fetched >= 0 && !measureDense(fetched)) return false;
      fetched = block;
    }
    return fetched < 0 || measureDense(fetched);
  }));
}

Result Measurement::merge(const Measurement& other) {
  if (other.width_ != width_ || other.height_ != height_) return Result::kOtherPicture;
  if (!other.isBegun_) return Result::kDone;
  if (!begins(other.encoding_)) return Result::kOtherPicture;
  for (std::int64_t block = 0; block < table_.count(); ++block) restore(block, other.table_[block]);
  for (std::size_t i = 0; i < other.fragments_.count(); ++i) {
    const Result result = restore(other.fragments_[i]);
    if (result != Result::kDone) return result;
  }
  return Result::kDone;
}

void Measurement::restore(std::int64_t block, const BlockRecord& record) {
  if (!record.isSeen()) return;
  BlockRecord& own = table_[block];
  if (!own.isSeen()) {
    own = record;
    own.flags &= BlockRecord::kIsSeen | BlockRecord::kIsDense;
    markSeen(block);
  } else if (record.isDense()) {
    own.dense = record.dense;
    own.flags |= BlockRecord::kIsDense;
  }
}

Result Measurement::restore(const Fragment& fragment) {
  if (table_[fragment.block].isSeen()) return Result::kDone;
  Fragment* const own = fragments_.of(fragment.block);
  if (own == nullptr) return Result::kNoMemory;
  for (int y = 0; y < kBlockSize; ++y) {
    for (int x = 0; x < kBlockSize; ++x) {
      if ((fragment.filled[y] >> x & 1u) == 0) continue;
      for (int k = 0; k < 3; ++k) own->values[k][y][x] = fragment.values[k][y][x];
    }
    own->filled[y] |= fragment.filled[y];
  }
  return own->isFull() ? complete(own) : Result::kDone;
}

}  // namespace veskaro::measure
