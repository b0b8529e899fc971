#include "measure/haar/haar_blocks.h"

namespace veskaro::measure {
namespace {

// 384 blocks of a picture measure as well as 1536.
constexpr std::int64_t kMostBlocks = 3072;

int dividedUp(std::int64_t pixels, int step) {
  return pixels > 0 ? static_cast<int>((pixels + step - 1) / step) : 0;
}

// Blocks that fit when one begins every step pixels.
int blocksIn(int pixels, int step) {
  return dividedUp(std::int64_t{pixels} - (kHaarBlock - 1), step);
}

}  // namespace

HaarGrid::HaarGrid(int width, int height) : columns_(blocksIn(width, xStep_)), rows_(blocksIn(height, yStep_)) {
  while (count() > kMostBlocks) {
    int* const step = xStep_ > yStep_ && rows_ > 1 ? &yStep_ : &xStep_;
    *step += kHaarBlock;
    columns_ = blocksIn(width, xStep_);
    rows_ = blocksIn(height, yStep_);
  }
}

pixels::Region HaarGrid::touched(const pixels::Region& r) const {
  const auto start = [](int x, int step) { return dividedUp(std::int64_t{x} - (kHaarBlock - 1), step); };
  const pixels::Region all = {0, columns_, 0, rows_};
  return pixels::intersection(
      all, {start(r.x0, xStep_), dividedUp(r.x1, xStep_), start(r.y0, yStep_), dividedUp(r.y1, yStep_)});
}

pixels::Region HaarGrid::held(const pixels::Region& r) const {
  const pixels::Region all = {0, columns_, 0, rows_};
  return pixels::intersection(
      all, {dividedUp(r.x0, xStep_), blocksIn(r.x1, xStep_), dividedUp(r.y0, yStep_), blocksIn(r.y1, yStep_)});
}

Result HaarBlocks::add(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                       const platform::Control& control) {
  const pixels::Region whole = grid_.held(piece.region), touched = grid_.touched(piece.region);
  const platform::LoopResult measured =
      platform::forEachItem(control, whole.isEmpty() ? 0 : whole.y1 - whole.y0, [&](std::int64_t index) {
        const int row = whole.y0 + static_cast<int>(index);
        for (int column = whole.x0; column < whole.x1; ++column) {
          if (!measure(piece, scale, column, row)) return false;
        }
        return true;
      });
  if (measured != platform::LoopResult::kDone) return resultOf(measured);
  for (int row = touched.y0; row < touched.y1; ++row) {
    for (int column = touched.x0; column < touched.x1; ++column) {
      const Result added = addToFragment(piece, scale, column, row);
      if (added != Result::kDone) return added;
    }
  }
  return addSpectra(piece, scale, whole, control);
}

bool HaarBlocks::measure(const pixels::PictureView& picture, const pixels::SampleScale& scale, int column, int row) {
  HaarRecord& r = record(std::int64_t{row} * grid_.columns() + column);
  if (r.isSeen != 0) return true;
  HaarBlock block;
  if (!measureHaar(picture, scale, grid_.xOf(column), grid_.yOf(row), &block)) return false;
  r = {block, 1};
  return true;
}

// A block that the piece does not hold whole; of one that is known, no fragment stays.
Result HaarBlocks::addToFragment(const pixels::PictureView& piece, const pixels::SampleScale& scale, int column,
                                 int row) {
  const std::int64_t block = std::int64_t{row} * grid_.columns() + column;
  if (record(block).isSeen != 0) {
    fragments_.remove(block);
    return Result::kDone;
  }
  HaarFragment* const fragment = fragments_.of(block);
  if (fragment == nullptr) return Result::kNoMemory;
  if (!fragment->fill(grid_.xOf(column), grid_.yOf(row), piece, scale)) {
    fragments_.remove(block);
    return Result::kNotANumber;
  }
  return completeWhenFull(fragment, scale.encoding);
}

Result HaarBlocks::completeWhenFull(HaarFragment* fragment, pixels::Encoding encoding) {
  if (!fragment->isFull()) return Result::kDone;
  const std::int64_t block = fragment->block;
  const int column = static_cast<int>(block % grid_.columns()), row = static_cast<int>(block / grid_.columns());
  const pixels::PictureView view = fragment->view(grid_.xOf(column), grid_.yOf(row));
  measure(view, fragmentScale(encoding), column, row);
  const bool hasMemory = !maySpeak(block, encoding) || spectra_.of(block) != nullptr;
  if (hasMemory) measureSpectrumOf(view, fragmentScale(encoding), block);
  fragments_.remove(block);
  return hasMemory ? Result::kDone : Result::kNoMemory;
}

// Whether a block may be one of those that tell the spectrum.
bool HaarBlocks::maySpeak(std::int64_t block, pixels::Encoding encoding) const {
  const HaarRecord& r = (*this)[block];
  return r.isSeen != 0 && bounds_.mayBeChosen(rankedBlock(r.block, block, encoding));
}

// Of whole blocks of the piece, while their pixels are at hand: first room for each that may speak, then its spectrum.
Result HaarBlocks::addSpectra(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                              const pixels::Region& blocks, const platform::Control& control) {
  if (!settleBounds(scale.encoding)) return Result::kNoMemory;
  if (blocks.isEmpty()) return Result::kDone;
  for (int row = blocks.y0; row < blocks.y1; ++row) {
    for (int column = blocks.x0; column < blocks.x1; ++column) {
      const std::int64_t block = std::int64_t{row} * grid_.columns() + column;
      if (maySpeak(block, scale.encoding) && spectra_.of(block) == nullptr) return Result::kNoMemory;
    }
  }
  return resultOf(platform::forEachItem(control, blocks.y1 - blocks.y0, [&](std::int64_t index) {
    for (int column = blocks.x0; column < blocks.x1; ++column) {
      const std::int64_t block = (blocks.y0 + index) * grid_.columns() + column;
      if (!measureSpectrumOf(piece, scale, block)) return false;
    }
    return true;
  }));
}

// Where there is room for it. False when a sample is infinite or not a number.
bool HaarBlocks::measureSpectrumOf(const pixels::PictureView& picture, const pixels::SampleScale& scale,
                                   std::int64_t block) {
  SpectrumRecord* const own = spectra_.find(block);
  if (own == nullptr || own->isMeasured != 0) return true;
  const int column = static_cast<int>(block % grid_.columns()), row = static_cast<int>(block / grid_.columns());
  if (!measureSpectrum(picture, scale, grid_.xOf(column), grid_.yOf(row), &own->spectrum)) return false;
  own->isMeasured = 1;
  return true;
}

// Brings the bounds down now and then, and lets go of the spectra beyond them. False when memory is refused.
bool HaarBlocks::settleBounds(pixels::Encoding encoding) {
  std::size_t seen = 0;
  for (std::int64_t block = 0; block < grid_.count(); ++block) seen += (*this)[block].isSeen;
  if (!bounds_.areStale(seen)) return true;
  platform::HeapArray<RankedBlock> ranked(seen, platform::Fill::kNothing);
  if (!ranked) return false;
  for (std::int64_t block = 0, count = 0; block < grid_.count(); ++block) {
    if ((*this)[block].isSeen == 0) continue;
    ranked[static_cast<std::size_t>(count++)] = rankedBlock((*this)[block].block, block, encoding);
  }
  bounds_.take(ranked.data(), seen);
  for (std::size_t i = spectra_.count(); i-- > 0;) {
    const std::int64_t block = spectra_[i].block;
    if (!maySpeak(block, encoding)) spectra_.remove(block);
  }
  return true;
}

Result HaarBlocks::merge(const HaarBlocks& other, pixels::Encoding encoding) {
  for (std::int64_t block = 0; block < grid_.count(); ++block) restore(block, other[block]);
  for (std::size_t i = 0; i < other.spectra_.count(); ++i) {
    const Result result = restore(other.spectra_[i], encoding);
    if (result != Result::kDone) return result;
  }
  for (std::size_t i = 0; i < other.fragments_.count(); ++i) {
    const Result result = restore(other.fragments_[i], encoding);
    if (result != Result::kDone) return result;
  }
  return settleBounds(encoding) ? Result::kDone : Result::kNoMemory;
}

void HaarBlocks::restore(std::int64_t block, const HaarRecord& from) {
  if (from.isSeen == 0 || record(block).isSeen != 0) return;
  record(block) = from;
  fragments_.remove(block);
}

Result HaarBlocks::restore(const HaarFragment& fragment, pixels::Encoding encoding) {
  if (record(fragment.block).isSeen != 0) return Result::kDone;
  HaarFragment* const own = fragments_.of(fragment.block);
  if (own == nullptr) return Result::kNoMemory;
  own->fill(fragment);
  return completeWhenFull(own, encoding);
}

Result HaarBlocks::restore(const SpectrumRecord& spectrum, pixels::Encoding encoding) {
  if (spectrum.isMeasured == 0 || !maySpeak(spectrum.block, encoding)) return Result::kDone;
  SpectrumRecord* const own = spectra_.of(spectrum.block);
  if (own == nullptr) return Result::kNoMemory;
  if (own->isMeasured == 0) *own = spectrum;
  return Result::kDone;
}

}  // namespace veskaro::measure
