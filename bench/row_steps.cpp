// The steps of the two filters on rows that are at hand, against what the vector units could do at the most: a stream
// of independent additions and multiplications on registers.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "row_steps.cpp"
#include <hwy/foreach_target.h>

#include "filters/level_stream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {
using namespace simd::HWY_NAMESPACE;
using namespace filters::HWY_NAMESPACE;
using filters::kReach;
#if VESKARO_HAS_VECTORS

constexpr int kColumns = 256;
constexpr int kRows = 8;
constexpr int kMiddle = 5;  // the row whose neighbours are all loaded
constexpr params::NoiseSettings kNoise = {60.0f, 1.0f, 1e-5f, -0.001f, 0.5f};
constexpr params::SharpenSettings kSharpening = {0.025f, 0.025f};

// Rows of noise around a mid grey in both filters' rings.
template <class Distances>
class RowSteps {
 public:
  RowSteps() : memory_(1 << 19), arena_(memory_.data()), noise_(&arena_), sharpen_(&arena_), records_(&arena_) {
    for (int y = 0; y < kRows; ++y) {
      fill(noise_.level(y));
      fill(sharpen_.reduced(y));
      noise_.rowLoaded(y, -kReach, kColumns + kReach);
      sharpen_.rowLoaded(y, -kReach, kColumns + kReach);
      if (y < kReach) continue;
      noise_.computeDistances(y - kReach, 0, kColumns, kNoise);
      sharpen_.computeDistances(y - kReach, 0, kColumns);
    }
    reduce();
  }

  void noiseDistances() { noise_.computeDistances(kMiddle, 0, kColumns, kNoise); }
  void reduce() { noise_.reduce(kMiddle, 0, kColumns, noise_.level(kMiddle), records_.at(0), records_.at(1), kNoise); }
  void sharpeningDistances() { sharpen_.computeDistances(kMiddle, 0, kColumns); }
  void sharpen() { sharpen_.sharpen(kMiddle, 0, kColumns, records_.at(1), kSharpening); }

 private:
  void fill(const filters::StripRow& row) {
    for (int k = 0; k < 3; ++k) {
      for (int x = -simd::kMaxLanes; x < kColumns + simd::kMaxLanes; ++x) {
        state_ = state_ * 1664525u + 1013904223u;
        row.plane(k)[x] = 60.0f + static_cast<float>(state_ >> 20) / 256.0f;
      }
    }
  }

  std::uint32_t state_ = 1;
  std::vector<float> memory_;
  simd::Arena arena_;
  NoiseStage<Distances> noise_;
  SharpenStage sharpen_;
  filters::StripRing<3> records_;
};

// Seven chains of additions and seven of multiplications: enough to keep all units busy.
void runUnits() {
  const Floats d;
  float start[15] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 1};
  benchmark::DoNotOptimize(start);
  const auto at = [&](int i) { return hn::Set(d, start[i]); };
  V sum0 = at(0), sum1 = at(1), sum2 = at(2), sum3 = at(3), sum4 = at(4), sum5 = at(5), sum6 = at(6);
  V product0 = at(7), product1 = at(8), product2 = at(9), product3 = at(10), product4 = at(11), product5 = at(12),
    product6 = at(13);
  const V by = at(14);
  for (int i = 0; i < kColumns; ++i) {
    sum0 = hn::Add(sum0, by), product0 = hn::Mul(product0, by);
    sum1 = hn::Add(sum1, by), product1 = hn::Mul(product1, by);
    sum2 = hn::Add(sum2, by), product2 = hn::Mul(product2, by);
    sum3 = hn::Add(sum3, by), product3 = hn::Mul(product3, by);
    sum4 = hn::Add(sum4, by), product4 = hn::Mul(product4, by);
    sum5 = hn::Add(sum5, by), product5 = hn::Mul(product5, by);
    sum6 = hn::Add(sum6, by), product6 = hn::Mul(product6, by);
  }
  const V all[] = {sum0,     sum1,     sum2,     sum3,     sum4,     sum5,     sum6,
                   product0, product1, product2, product3, product4, product5, product6};
  for (const V& v : all) benchmark::DoNotOptimize(hn::GetLane(v));
}

// Arithmetic of a step on one vector of pixels as it is written: additions, multiplications, comparisons, selections;
// divisions count once. Per neighbour: distances 20 and 18, for patches 7 more, weights and sums 14 and 15.
double rowStep(int step, benchmark::State* state) {
  constexpr double kOperations[] = {14, 12 * 20, 24 * 14 + 16 + 13 + 23, 12 * 18, 24 * 15 + 8 + 4 + 44, 12 * 27};
  RowSteps<PixelDistances> rows;
  RowSteps<PatchDistances> patches;
  for (auto _ : *state) {
    switch (step) {
      case 0:
        runUnits();
        break;
      case 1:
        rows.noiseDistances();
        break;
      case 2:
        rows.reduce();
        break;
      case 3:
        rows.sharpeningDistances();
        break;
      case 4:
        rows.sharpen();
        break;
      default:
        patches.noiseDistances();
    }
    benchmark::ClobberMemory();
  }
  return kOperations[step] * (step == 0 ? kColumns : kColumns / lanes());
}

#else
double rowStep(int, benchmark::State*) {
  return 0;
}
#endif  // VESKARO_HAS_VECTORS
}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "benchmarks.h"

namespace veskaro {
namespace {
HWY_EXPORT(rowStep);
}  // namespace

namespace bench {

void registerRowSteps() {
  static const char* const kSteps[] = {"units",
                                       "noise reduction: distances",
                                       "noise reduction: averages",
                                       "sharpening: distances",
                                       "sharpening: averages",
                                       "patches: distances"};
  for (int step = 0; step < 6; ++step) {
    for (const Target& target : targets()) {
      if (target.name == "plain") continue;
      const std::string name = std::string("row/") + kSteps[step] + "/" + target.name;
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        runOn(target);
        state.counters["pixels"] = HWY_DYNAMIC_DISPATCH(rowStep)(step, &state);
      });
    }
  }
}

}  // namespace bench
}  // namespace veskaro
#endif  // HWY_ONCE
