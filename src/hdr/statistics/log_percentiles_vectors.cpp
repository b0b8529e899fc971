// The vector form of the percentiles: the search, which counts with the passes of counting.h.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "hdr/statistics/counting.h"
#include "hdr/statistics/log_percentiles.h"
#include "hdr/statistics/percentile.h"
#include "platform/heap_array.h"
#include "platform/log_exp.h"
#include "simd/rows.h"

namespace veskaro::hdr {

namespace {

// Vectors of pixels to look at for the first guess.
constexpr std::int64_t kSampledVectors = 1 << 14;

// Below this many pixels the tables cost more than the logarithms that they save.
constexpr std::size_t kWorthwhile = 1 << 15;

float valueOf(std::int32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}

struct Tables {
  CoarseHistogram coarse[kQuantities];
  int cells[kQuantities][kPercentiles][Bracket::kCells];
};

class PercentileSearch {
 public:
  PercentileSearch(const ConstPicture& picture, Tables* tables) : picture_(picture), tables_(*tables) {
    for (int n = 0; n < kPercentiles; ++n) percentileRank(kShares[n], picture.size.pixels(), &ranks_[n]);
    for (auto& quantity : cells_) std::fill(std::begin(quantity), std::end(quantity), Bracket::kCells);
  }

  // Counts in brackets guessed from a sample, and again in wider ones should a percentile lie outside its bracket.
  void narrow() {
    std::memset(tables_.coarse, 0, sizeof(tables_.coarse));
    vectors::countCoarsely(picture_, samplingStride(), tables_.coarse);
    for (double margin = 1.0; guess(margin); margin *= 16.0) count();
  }

  LogScale scaleOf(int quantity) const {
    LogScale scale;
    scale.extend(platform::logOf(valueOf(counts_[quantity].smallest)));
    scale.extend(platform::logOf(valueOf(counts_[quantity].largest)));
    return scale;
  }

  void findBins(LogPercentiles (&found)[kQuantities]) {
    bool refined = false;
    for (int q = 0; q < kQuantities; ++q) {
      for (int n = 0; n < kPercentiles; ++n) {
        int bin = binOf(q, n, found[q].scale);
        if (bin < 0 && !refined) {
          refine();
          refined = true;
          bin = binOf(q, n, found[q].scale);
        }
        found[q].bins[n] = bin;
      }
    }
  }

 private:
  // The bin of a percentile, or -1 when its cell straddles the border of two.
  int binOf(int quantity, int percentile, const LogScale& scale) const {
    const QuantityCounts& counts = counts_[quantity];
    const std::int32_t first = firstOfCell(quantity, percentile);
    const std::int32_t last = first + ((1 << counts.brackets[percentile].shift) - 1);
    const float perUnit = scale.binsPerUnit();
    const int bin = scale.binOf(platform::logOf(valueOf(std::max(first, counts.smallest))), perUnit);
    return bin == scale.binOf(platform::logOf(valueOf(std::min(last, counts.largest))), perUnit) ? bin : -1;
  }

  // Counts again with each bracket on the cell found, one float to a cell.
  void refine() {
    for (int q = 0; q < kQuantities; ++q) {
      for (int n = 0; n < kPercentiles; ++n) {
        counts_[q].brackets[n].first = firstOfCell(q, n);
        counts_[q].brackets[n].shift = 0;
      }
    }
    count();
  }

  int samplingStride() const {
    const std::int64_t vectors = static_cast<std::int64_t>(picture_.size.pixels() / simd::kMaxLanes);
    return static_cast<int>(std::max<std::int64_t>(1, vectors / kSampledVectors));
  }

  std::int32_t firstOfCell(int quantity, int percentile) const {
    const Bracket& bracket = counts_[quantity].brackets[percentile];
    return bracket.first + (cells_[quantity][percentile] << bracket.shift);
  }

  // Sets the brackets of the percentiles that are not found yet; false when there are none.
  bool guess(double margin) {
    bool changed = false;
    for (int q = 0; q < kQuantities; ++q) {
      for (int n = 0; n < kPercentiles; ++n) {
        if (isFound(q, n)) continue;
        guessBracket(tables_.coarse[q], ranks_[n], margin, &counts_[q].brackets[n]);
        changed = true;
      }
    }
    return changed;
  }

  // The coarse bins where the percentile may lie, given how far the sample may be out: margin times four standard
  // deviations of a sample whose pixels come sixteen alike, and a few for small samples and the columns left out.
  void guessBracket(const CoarseHistogram& histogram, std::uint64_t rank, double margin, Bracket* bracket) const {
    double total = 0;
    for (int count : histogram.counts) total += count;
    const double expected = static_cast<double>(rank) * total / static_cast<double>(picture_.size.pixels());
    const double slack = margin * (64 + 16 * std::sqrt(expected * (total - expected) / total));
    double sum = 0;
    int first = -1, last = kCoarseBins - 1;
    for (int bin = 0; bin < kCoarseBins; ++bin) {
      sum += histogram.counts[bin];
      if (first < 0 && sum > expected - slack) first = bin;
      if (sum > expected + slack) {
        last = bin;
        break;
      }
    }
    // A margin beyond the whole sample leaves nothing out, colours that the sample did not meet included.
    if (expected < slack) first = 0;
    bracket->first = first << 16;
    bracket->shift = 0;
    while ((last - first) >> bracket->shift) ++bracket->shift;
  }

  void count() {
    std::memset(tables_.cells, 0, sizeof(tables_.cells));
    for (int q = 0; q < kQuantities; ++q) {
      for (int n = 0; n < kPercentiles; ++n) {
        counts_[q].brackets[n].cells = tables_.cells[q][n];
        counts_[q].brackets[n].below = 0;
      }
    }
    vectors::countInBrackets(picture_, counts_);
    for (int q = 0; q < kQuantities; ++q) {
      for (int n = 0; n < kPercentiles; ++n) cells_[q][n] = cellOf(counts_[q].brackets[n], ranks_[n]);
    }
  }

  // The cell at which the running sum exceeds the rank, or kCells.
  static int cellOf(const Bracket& bracket, std::uint64_t rank) {
    std::uint64_t sum = bracket.below;
    int cell = 0;
    for (; cell < Bracket::kCells; ++cell) {
      sum += static_cast<std::uint64_t>(bracket.cells[cell]);
      if (sum > rank) break;
    }
    return cell;
  }

  bool isFound(int q, int n) const {
    return counts_[q].brackets[n].below <= ranks_[n] && cells_[q][n] < Bracket::kCells;
  }

  const ConstPicture picture_;
  std::uint64_t ranks_[kPercentiles] = {};  // how many values a percentile must exceed
  Tables& tables_;
  QuantityCounts counts_[kQuantities];
  int cells_[kQuantities][kPercentiles];  // where the percentile lies in its bracket, kCells when it does not
};

}  // namespace

simd::VectorResult vectors::findPercentiles(const ConstPicture& picture, LogPercentiles (&found)[kQuantities]) {
  if (picture.size.pixels() < kWorthwhile || !vectors::canCount(picture.size)) {
    return simd::VectorResult::kPlainFormNeeded;
  }
  platform::HeapArray<Tables> tables(1, platform::Fill::kNothing);
  if (!tables) return simd::VectorResult::kNoMemory;
  PercentileSearch search(picture, tables.data());
  search.narrow();
  for (int q = 0; q < kQuantities; ++q) found[q].scale = search.scaleOf(q);
  if (haveSpread(found)) search.findBins(found);
  return simd::VectorResult::kDone;
}

}  // namespace veskaro::hdr
