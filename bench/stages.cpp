// Filtering with the stages beyond denoise2's filters, on one thread, the noise measured beforehand.
#include <benchmark/benchmark.h>

#include <memory>

#include "benchmarks.h"
#include "targets.h"
#include "veskaronr.h"

namespace veskaro::bench {
namespace {

// The sample photograph with its own noise.
struct Bench {
  Size size;
  std::vector<std::uint8_t> in, out;
  vnr_noise noise = {};

  explicit Bench(const Size& s) : size(s), in(photograph(s, Noise::kLow, 8)), out(in.size()) {
    const vnr_picture picture = view(in);
    noise.struct_size = sizeof(noise);
    vnr_measure(&picture, nullptr, &noise);
  }
  vnr_picture view(const std::vector<std::uint8_t>& samples) const {
    return vnr_interleaved(VNR_UINT8, size.width, size.height, 3, samples.data(), 3 * size.width);
  }
  vnr_settings settings(int (*rule)(const vnr_noise*, float, vnr_settings*)) const {
    vnr_settings s = {};
    s.struct_size = sizeof(s);
    rule(&noise, 1.0f, &s);
    return s;
  }
  // A part of the picture, as a preview shows it, or all of it.
  void filter(const vnr_settings& s, const vnr_rectangle& part) {
    const vnr_picture from = view(in), to = vnr_piece(view(out), part);
    vnr_control oneThread = {};
    oneThread.struct_size = sizeof(oneThread);
    oneThread.threads = 1;
    vnr_plan* plan = nullptr;
    if (vnr_plan_begin(size.width, size.height, &s, &plan) != VNR_OK) return;
    vnr_plan_filter(plan, &from, &to, &oneThread);
    vnr_plan_end(plan);
  }
};

struct Case {
  const char* name;
  vnr_settings settings;
};

std::vector<Case> cases(const Bench& bench) {
  const vnr_settings best = bench.settings(vnr_settings_best);
  vnr_settings pixels = best, dotted = best, unshrunk = best;
  pixels.patch = 0.0f;
  dotted.dots_luma = dotted.dots_chroma = 0.0f;
  unshrunk.shrink_luma = unshrunk.shrink_chroma = 0.0f;
  return {{"classic", bench.settings(vnr_settings_classic)},
          {"fast", bench.settings(vnr_settings_fast)},
          {"best", best},
          {"best without patches", pixels},
          {"best without dots", dotted},
          {"best without blocks", unshrunk}};
}

}  // namespace

void registerStages(const Size& size) {
  const auto bench = std::make_shared<Bench>(size);
  const vnr_rectangle whole = {0, size.width, 0, size.height};
  for (const Case& each : cases(*bench)) {
    for (const Target& target : targets()) {
      if (target.name == "plain") continue;
      benchmark::RegisterBenchmark(("stages/" + std::string(each.name) + "/" + target.name).c_str(),
                                   [=](benchmark::State& state) {
                                     runOn(target);
                                     for (auto _ : state) bench->filter(each.settings, whole);
                                     state.counters["pixels"] = 1e6 * size.megapixels();
                                   })
          ->Unit(benchmark::kMillisecond)
          ->Iterations(1)
          ->Repetitions(5);
    }
  }
}

}  // namespace veskaro::bench
