// Whole denoise2 calls.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <thread>
#include <tuple>

#include "VeskaroNRLib.h"
#include "benchmarks.h"
#include "targets.h"

namespace veskaro::bench {
namespace {

struct Call {
  Size size;
  int bits;
  int unitTile;
  Noise noise;
  int threads;
};

std::string nameOf(const Call& c, const Target& target) {
  return "call/" + std::to_string(c.size.width) + "x" + std::to_string(c.size.height) + "/" + std::to_string(c.bits) +
         "/" + std::to_string(c.unitTile) + "/" + nameOf(c.noise) + "/" + std::to_string(c.threads) + "/" + target.name;
}

// The pictures are made when first asked for, and kept.
const std::vector<std::uint8_t>& pictureOf(const Call& c) {
  static std::map<std::tuple<int, int, int, Noise>, std::vector<std::uint8_t>> made;
  std::vector<std::uint8_t>& picture = made[{c.size.width, c.size.height, c.bits, c.noise}];
  if (picture.empty()) picture = photograph(c.size, c.noise, c.bits);
  return picture;
}

void runCall(benchmark::State& state, const Call& c, const Target& target) {
  runOn(target);
  std::vector<std::uint8_t> in = pictureOf(c);
  std::vector<std::uint8_t> out(in.size());
  float params[NR_PARAM_COUNT];
  for (auto _ : state) {
    nr_def(params);
    params[NR_NOISE_LEVEL] = 1.0f;
    if (denoise2(c.size.width, c.size.height, 3, 3 * c.size.width, c.bits, c.unitTile, c.threads, params, nullptr,
                 in.data(), out.data()) != NR_OK) {
      state.SkipWithError("denoise2 failed");
    }
  }
  state.counters["pixels"] = 1e6 * c.size.megapixels();
  state.counters["noise"] = static_cast<double>(params[NR_NOISE_LEVEL]);
}

// The shortest of a few counts. The plain code takes long enough to need fewer of them.
void add(const Call& call, const Target& target) {
  const int repetitions = target.name == "plain" ? 2 : 5;
  benchmark::RegisterBenchmark(nameOf(call, target).c_str(), runCall, call, target)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime()
      ->MeasureProcessCPUTime()
      ->Iterations(1)
      ->Repetitions(repetitions);
}

}  // namespace

bool registerCalls(const Size& large, const Size& small) {
  if (photograph({8, 8}, Noise::kLow, 8).empty()) return false;
  const int cores = static_cast<int>(std::thread::hardware_concurrency());
  const std::vector<Target> all = targets();
  // Every target on the large picture at the common settings; the best at all settings on the small one, and the plain
  // code on one thread.
  for (const int threads : {1, cores}) {
    for (const int bits : {8, 16}) {
      for (const Target& target : all) add({large, bits, 256, Noise::kLow, threads}, target);
      for (const int unit : {128, 256, 512}) {
        for (const Noise noise : {Noise::kLow, Noise::kHigh}) {
          if (threads == 1) add({small, bits, unit, noise, threads}, all.front());
          add({small, bits, unit, noise, threads}, all.back());
        }
      }
    }
    if (cores == 1) break;
  }
  return true;
}

}  // namespace veskaro::bench
