// Per-target: the blocks of shrink.h, a lane a block. Rows stream by: once the last of a row of blocks has come, the
// upper half of it is whole. Lines are kept apart by column of the four from block to block (a phase), so that the
// samples that neighbouring blocks have in the same place lie side by side, and a block's right half is the next
// one's left:
//
//     column    0 1 2 3  4 5 6 7  8 9 ...        block b: the phases' lanes b and b + 1
//     phase     0 1 2 3  0 1 2 3  0 1
//     lane      0 0 0 0  1 1 1 1  2 2
#if defined(VESKARO_SHRINK_SHRINK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VESKARO_SHRINK_SHRINK_INL_H
#undef VESKARO_SHRINK_SHRINK_INL_H
#else
#define VESKARO_SHRINK_SHRINK_INL_H
#endif

#include "pixels/dct-inl.h"
#include "shrink/shrink.h"
#include "simd/arena.h"
#include "simd/rows.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro::shrink::HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace pixels::HWY_NAMESPACE;
#if VESKARO_HAS_VECTORS

// Widest part of a row that is shrunk at once, and what its blocks cover.
constexpr int kMostColumns = 512;
constexpr int kMostCovered = kMostColumns + 2 * kReach;
constexpr int kPhases = kStep;

// Planes of a line's phases, with room for whole vectors and a lane on both sides; an odd number of cache lines, so
// that planes don't meet in one set of the cache.
constexpr std::ptrdiff_t kPhaseFloats =
    (simd::roundUpToLanes(kMostCovered / kPhases) / simd::kMaxLanes / 2 * 2 + 3) * simd::kMaxLanes;

template <int kLines>
class Lines {
 public:
  explicit Lines(simd::Arena* arena) : base_(arena->take(kLines * kPhases * kPhaseFloats)) {}
  float* at(int line, int phase) const { return base_ + (line * kPhases + phase) * kPhaseFloats + simd::kMaxLanes; }

 private:
  float* base_;
};

enum Picture { kNoisy, kGuide, kPictures };

class BlockStream {
 public:
  explicit BlockStream(simd::Arena* arena)
      : rows_{{Rows(arena), Rows(arena), Rows(arena)}, {Rows(arena), Rows(arena), Rows(arena)}},
        cells_(arena),
        factors_(arena),
        coefficients_{Lines<kBlock>(arena), Lines<kBlock>(arena)},
        left_(arena),
        right_(arena),
        above_{Lines<kStep>(arena), Lines<kStep>(arena), Lines<kStep>(arena)},
        whole_{Lines<kStep>(arena), Lines<kStep>(arena), Lines<kStep>(arena)} {}

  // For rows that cover so many columns.
  void begin(int columns) { groups_ = columns / kPhases; }

  // Row y, counted from the first; from.plane[] is readable up to whole vectors of groups.
  HWY_NOINLINE void take(Picture picture, int y, const simd::Rows& from) const {
    const Floats d;
    for (int c = 0; c < params::kShrunkChannels; ++c) {
      const Rows& rows = rows_[picture][c];
      for (int i = 0; i < groups_; i += lanes()) {
        V phase[kPhases];
        hn::LoadInterleaved4(d, from.plane[c] + kPhases * i, phase[0], phase[1], phase[2], phase[3]);
        for (int k = 0; k < kPhases; ++k) hn::Store(phase[k], d, rows.at(y % kBlock, k) + i);
      }
    }
    if (picture == kGuide) addToCells(y);
  }

  // Once row y + 7 has been taken, y a multiple of 4.
  HWY_NOINLINE void shrink(int y, const Rule& rule) const {
    findFactors(y, rule.slope);
    for (int c = 0; c < params::kShrunkChannels; ++c) {
      if (rule.isOn[c]) {
        shrinkChannel(c, y, rule.gains[c]);
      } else {
        copyGuide(c, y);
      }
    }
  }

  // Row y + i of what shrink(y) has made whole; writes whole vectors of groups.
  HWY_NOINLINE void give(int i, const simd::Rows& to) const {
    const Floats d;
    for (int c = 0; c < params::kShrunkChannels; ++c) {
      for (int k = 0; k < groups_; k += lanes()) {
        const auto phase = [&](int p) { return hn::Load(d, whole_[c].at(i, p) + k); };
        hn::StoreInterleaved4(phase(0), phase(1), phase(2), phase(3), d, to.plane[c] + kPhases * k);
      }
    }
  }

 private:
  using Rows = Lines<kBlock>;

  // The sums of 4 x 4 pixels' Y, a lane a cell: two rows of cells, whose rows are added up as they come.
  float* cells(int y) const { return cells_.at(0, y / kStep % 2); }

  void addToCells(int y) const {
    const Floats d;
    const Rows& rows = rows_[kGuide][params::kShrunkY];
    for (int i = 0; i < groups_; i += lanes()) {
      const auto phase = [&](int p) { return hn::Load(d, rows.at(y % kBlock, p) + i); };
      const V line = hn::Add(hn::Add(phase(0), phase(1)), hn::Add(phase(2), phase(3)));
      const V before = y % kStep == 0 ? hn::Zero(d) : hn::Load(d, cells(y) + i);
      hn::Store(hn::Add(before, line), d, cells(y) + i);
    }
  }

  void findFactors(int y, float slope) const {
    const Floats d;
    const float* const upper = cells(y);
    const float* const lower = cells(y + kStep);
    for (int i = 0; i < groups_; i += lanes()) {
      const V sum = hn::Add(hn::Add(hn::Load(d, upper + i), hn::LoadU(d, upper + i + 1)),
                            hn::Add(hn::Load(d, lower + i), hn::LoadU(d, lower + i + 1)));
      const V mean = hn::Mul(sum, hn::Set(d, kBlockShare));
      const V raised = hn::IfThenElseZero(hn::Gt(mean, hn::Zero(d)), mean);
      const V m = hn::Add(hn::Set(d, 1.0f), hn::Mul(hn::Set(d, slope), hn::Min(raised, hn::Set(d, kWhite))));
      hn::Store(hn::Mul(m, m), d, factors_.at(0, 0) + i);
    }
  }

  void copyGuide(int channel, int y) const {
    const Floats d;
    for (int row = 0; row < kStep; ++row) {
      for (int p = 0; p < kPhases; ++p) {
        const float* const from = rows_[kGuide][channel].at((y + row) % kBlock, p);
        for (int i = 0; i < groups_; i += lanes()) hn::Store(hn::Load(d, from + i), d, whole_[channel].at(row, p) + i);
      }
    }
  }

  void shrinkChannel(int channel, int y, const Gains& gains) const {
    for (const Picture picture : {kNoisy, kGuide}) transformColumns(rows_[picture][channel], y, coefficients_[picture]);
    for (int v = 0; v < kBlock; ++v) shrinkLine(v, gains);
    addColumns(above_[channel], whole_[channel]);
  }

  HWY_NOINLINE void transformColumns(const Rows& rows, int y, const Lines<kBlock>& to) const {
    const Floats d;
    for (int p = 0; p < kPhases; ++p) {
      const float* from[kBlock];
      for (int k = 0; k < kBlock; ++k) from[k] = rows.at((y + k) % kBlock, p);
      float* const first = to.at(0, p);
      for (int i = 0; i < groups_; i += lanes()) {
        V column[kBlock];
        unrolled<kBlock>([&](int k) VESKARO_INLINE_LAMBDA { column[k] = hn::Load(d, from[k] + i); });
        forwardDct(column);
        unrolled<kBlock>(
            [&](int k) VESKARO_INLINE_LAMBDA { hn::Store(column[k], d, first + k * kPhases * kPhaseFloats + i); });
      }
    }
  }

  static HWY_INLINE void loadBlocks(const float* line, int i, V (&x)[kBlock]) {
    const Floats d;
    unrolled<kPhases>([&](int p) VESKARO_INLINE_LAMBDA {
      x[p] = hn::Load(d, line + p * kPhaseFloats + i);
      x[p + kPhases] = hn::LoadU(d, line + p * kPhaseFloats + i + 1);
    });
  }

  static HWY_INLINE V shrunk(V guide, V noisy, V factor, const Gains& gains, int i) {
    const Floats d;
    const V power = hn::Mul(factor, hn::Set(d, gains.power[i]));
    const V restored =
        hn::Add(hn::Mul(guide, hn::Set(d, gains.ofGuide[i])), hn::Mul(noisy, hn::Set(d, gains.ofNoisy[i])));
    const V lost = hn::Div(power, hn::Add(hn::Mul(guide, guide), power));
    return hn::Sub(restored, hn::Mul(restored, lost));
  }

  // A row of coefficients, back along the rows and windowed.
  HWY_NOINLINE void shrinkLine(int v, const Gains& gains) const {
    const Floats d;
    for (int i = 0; i < groups_; i += lanes()) {
      V noisy[kBlock], x[kBlock];
      loadBlocks(coefficients_[kNoisy].at(v, 0), i, noisy);
      loadBlocks(coefficients_[kGuide].at(v, 0), i, x);
      forwardDct(noisy);
      forwardDct(x);
      const V factor = hn::Load(d, factors_.at(0, 0) + i);
      unrolled<kBlock>([&](int h)
                           VESKARO_INLINE_LAMBDA { x[h] = shrunk(x[h], noisy[h], factor, gains, v * kBlock + h); });
      inverseDct(x);
      unrolled<kPhases>([&](int p) VESKARO_INLINE_LAMBDA {
        hn::Store(hn::Mul(x[p], hn::Set(d, kWindow[p])), d, left_.at(v, p) + i);
        hn::Store(hn::Mul(x[p + kPhases], hn::Set(d, kWindow[p + kPhases])), d, right_.at(v, p) + i);
      });
    }
  }

  // The left halves of blocks and the right halves of those before them, on top of what the blocks above have left.
  HWY_NOINLINE void addColumns(const Lines<kStep>& above, const Lines<kStep>& whole) const {
    const Floats d;
    for (int p = 0; p < kPhases; ++p) {
      for (int i = 0; i < groups_; i += lanes()) {
        V column[kBlock];
        unrolled<kBlock>([&](int v) VESKARO_INLINE_LAMBDA {
          column[v] = hn::Add(hn::Load(d, left_.at(v, p) + i), hn::LoadU(d, right_.at(v, p) + i - 1));
        });
        inverseDct(column);
        unrolled<kStep>([&](int y) VESKARO_INLINE_LAMBDA {
          const V upper = hn::Mul(column[y], hn::Set(d, kWindow[y]));
          const V lower = hn::Mul(column[y + kStep], hn::Set(d, kWindow[y + kStep]));
          hn::Store(hn::Add(hn::Load(d, above.at(y, p) + i), upper), d, whole.at(y, p) + i);
          hn::Store(lower, d, above.at(y, p) + i);
        });
      }
    }
  }

  int groups_ = 0;
  Rows rows_[kPictures][params::kShrunkChannels];  // the last eight
  Lines<1> cells_, factors_;
  Lines<kBlock> coefficients_[kPictures];
  Lines<kBlock> left_, right_;  // halves of blocks, by row of coefficients
  Lines<kStep> above_[params::kShrunkChannels];
  Lines<kStep> whole_[params::kShrunkChannels];
};

#endif  // VESKARO_HAS_VECTORS
}  // namespace veskaro::shrink::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
