#include "measure/measurement.h"

#include <algorithm>
#include <cmath>

namespace veskaro::measure {
namespace {

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
  const Result again =
      encoding_ == pixels::Encoding::kLinear ? Result::kDone : measureAgain(piece, scale, whole, control);
  return again == Result::kDone ? haarBlocks_.add(piece, scale, control) : again;
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
  if (!fragment->fill(x, y, piece, scale)) {
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
  const pixels::SampleScale scale = fragmentScale(encoding_);
  measureBlock(view, scale, block);
  BlockRecord& record = table_[block];
  if (wantsDense(block)) {
    measureDensely(view, scale, x, y, kBlockSize, &record.dense);
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
    platform::HeapArray<UsableBlock> usable(static_cast<std::size_t>(seen_), platform::Fill::kNothing);
    if (!usable) return Result::kNoMemory;
    const Candidates candidates = selectCandidates(usable.data(), listUsable(usable.data()));
    return resultOf(platform::forEachItem(control, candidates.count(), [&](std::int64_t k) {
      const std::int64_t block = candidates.blocks[k].index;
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
  return haarBlocks_.merge(other.haarBlocks_, encoding_);
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
  own->fill(fragment);
  return own->isFull() ? complete(own) : Result::kDone;
}

}  // namespace veskaro::measure
