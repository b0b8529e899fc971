// Each step of denoise2 alone, on a tile as a 12-megapixel picture has them.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "VeskaroNRLib.h"
#include "benchmarks.h"
#include "targets.h"
#include "veskaronr.h"

namespace veskaro::bench {
namespace {

constexpr int kTile = 315;  // 251 pixels and their overlap
constexpr Size kPicture = {2048, 1536};

// A tile of the photograph with the buffers and the tuning to filter it.
struct Bench {
  std::vector<std::uint8_t> picture;
  std::vector<float> source, pyramid, differences, reduced, prediction, comparison, records;

  bool load() {
    picture = photograph(kPicture, Noise::kLow, 8);
    if (picture.empty()) return false;
    const auto floats = static_cast<std::size_t>(3 * len_pyram(3, kTile, kTile));
    for (auto* buffer : {&pyramid, &differences, &reduced, &prediction, &comparison, &records}) buffer->resize(floats);
    source.resize(3 * kTile * kTile);
    for (int y = 0; y < kTile; ++y) {
      const std::uint8_t* row = &picture[static_cast<std::size_t>(3 * (kPicture.width * (y + 300) + 400))];
      std::copy(row, row + 3 * kTile, &source[static_cast<std::size_t>(3 * kTile * y)]);
    }
    filterLevel();  // so that the halves of the filter find their inputs
    return true;
  }

  vnr_noise measured() {
    const vnr_picture whole =
        vnr_interleaved(VNR_UINT8, kPicture.width, kPicture.height, 3, picture.data(), 3 * kPicture.width);
    vnr_control oneThread = {};
    oneThread.struct_size = sizeof(oneThread);
    oneThread.threads = 1;
    vnr_noise noise = {};
    noise.struct_size = sizeof(noise);
    vnr_measure(&whole, &oneThread, &noise);
    return noise;
  }
  void measure() { measured(); }
  void setTuning() {
    const vnr_noise noise = measured();
    vnr_settings settings = {};
    settings.struct_size = sizeof(settings);
    vnr_settings_classic(&noise, 1.0f, &settings);
    calcParams(settings.params);
  }
  void filterLevel() {
    std::copy(source.begin(), source.end(), pyramid.begin());
    noiseReduce_set(0, kTile, kTile, inner, 3, 1, 1, records.data(), reduced.data(), comparison.data(), pyramid.data());
  }
  void reduceNoise() {
    noiseReduce_orig(0, kTile, kTile, inner, 3, 1, source.data(), comparison.data(), records.data(), prediction.data());
  }
  void sharpen() { sharpen_orig(0, kTile, kTile, inner, 3, reduced.data(), records.data(), prediction.data()); }
  void reconstruct() {
    similarityReconstruct(kTile, kTile, pyramid.data() + 3 * kTile * kTile, source.data(), prediction.data());
  }
  void denoiseTile() {
    int area[4] = {32, kTile - 32, 32, kTile - 32};
    std::copy(source.begin(), source.end(), pyramid.begin());
    denoise_tile(kTile, kTile, area, 3, 1, differences.data(), reduced.data(), prediction.data(), pyramid.data());
  }

  int inner[4] = {2, kTile - 2, 2, kTile - 2};
};

struct Kernel {
  const char* name;
  double pixels;
  void (Bench::*run)();
};

constexpr double kInner = (kTile - 4.0) * (kTile - 4.0);
constexpr Kernel kKernels[] = {
    {"noise reduction", kInner, &Bench::reduceNoise},
    {"sharpening", kInner, &Bench::sharpen},
    {"level filter", kInner, &Bench::filterLevel},
    {"reconstruction", kInner, &Bench::reconstruct},
    {"whole tile", (kTile - 64.0) * (kTile - 64.0), &Bench::denoiseTile},
    {"measuring", 1.0 * kPicture.width* kPicture.height, &Bench::measure},
};

}  // namespace

bool registerKernels() {
  const auto bench = std::make_shared<Bench>();
  if (!bench->load()) return false;
  for (const Kernel& kernel : kKernels) {
    for (const Target& target : targets()) {
      const std::string name = std::string("kernel/") + kernel.name + "/" + target.name;
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        runOn(target);
        bench->setTuning();
        bench->filterLevel();
        for (auto _ : state) ((*bench).*kernel.run)();
        state.counters["pixels"] = kernel.pixels;
      })->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}

}  // namespace veskaro::bench
