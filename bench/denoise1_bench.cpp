// denoise1: whole calls, its stages and its line filter, and a plain copy of memory to measure them by.
#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>

#include "VeskaroNRLib.h"
#include "benchmarks.h"
#include "targets.h"

namespace veskaro::bench {
namespace {

using Bytes = std::vector<unsigned char>;

// The picture mirrored to the size, as interleaved floats; empty when it cannot be read.
std::vector<float> mirroredFloats(const Size& size) {
  std::vector<float> samples;
  VipsImage* file = vips_image_new_from_file(VESKARO_BENCH_HDR_PICTURE, nullptr);
  VipsImage* floats = nullptr;
  VipsImage* big = nullptr;
  if (file != nullptr && vips_rad2float(file, &floats, nullptr) == 0 &&
      vips_embed(floats, &big, 0, 0, size.width, size.height, "extend", VIPS_EXTEND_MIRROR, nullptr) == 0) {
    std::size_t bytes = 0;
    void* memory = vips_image_write_to_memory(big, &bytes);
    if (memory != nullptr) {
      samples.resize(bytes / sizeof(float));
      std::memcpy(samples.data(), memory, bytes);
      g_free(memory);
    }
  }
  for (VipsImage* image : {file, floats, big}) {
    if (image != nullptr) g_object_unref(image);
  }
  return samples;
}

Bytes rowPlanar(const Size& size, const std::vector<float>& samples) {
  Bytes picture(samples.size() / 3 * 4);
  const auto width = static_cast<std::size_t>(size.width);
  for (std::size_t k = 0; k < samples.size() / 3; ++k) {
    const float* pixel = &samples[3 * k];
    unsigned char* to = &picture[4 * width * (k / width) + k % width];
    int exponent;
    const float largest = std::max({pixel[0], pixel[1], pixel[2]});
    if (largest < 1e-30f) continue;
    std::frexp(largest, &exponent);
    for (std::size_t c = 0; c < 3; ++c) to[c * width] = static_cast<unsigned char>(std::ldexp(pixel[c], 8 - exponent));
    to[3 * width] = static_cast<unsigned char>(exponent + 128);
  }
  return picture;
}

struct HdrBench {
  explicit HdrBench(const Size& wanted) : size(wanted), picture(rowPlanar(wanted, mirroredFloats(wanted))) {
    if (picture.empty()) return;
    input = result = picture;
    work.resize(5 * picture.size());
    line.resize(1 << 14);
    smooth.resize(line.size());
    hdr_stats(0, size.width, size.height, 0, 0, 32, 0.002f, picture.data(), levels);
  }

  void call(int strength) { denoise1(strength, size.width, size.height, 0, 0, 32, input.data(), result.data()); }
  void statistics() { hdr_stats(0, size.width, size.height, 0, 0, 32, 0.002f, picture.data(), levels); }
  void chroma(int strength) {
    denoise_chroma(strength, 0.4f, size.width, size.height, 0, 0, 32, std::exp(levels[0]), std::exp(levels[1]),
                   work.data(), picture.data(), result.data());
  }
  void luminance() {
    denoise_lumin(1, size.width, size.height, 0, 0, 32, levels[2], levels[3], levels[4], levels[5], work.data(),
                  picture.data(), result.data());
  }
  void smoothLine() { smooth_line(smooth.data(), line.data(), 1, static_cast<int>(line.size()), 4); }
  void copy() { std::memcpy(result.data(), picture.data(), picture.size()); }

  Size size;
  Bytes picture, input, result, work;
  std::vector<float> line, smooth;
  float levels[6];
};

// bytes: what a pixel has to read and write at the least, its picture once for each pass over it.
struct Case {
  const char* name;
  int bytes;
  std::function<void(HdrBench&)> run;
};

const Case kCases[] = {
    {"denoise1 at 75", 12, [](HdrBench& b) { b.call(75); }},
    {"denoise1 at 100", 28, [](HdrBench& b) { b.call(100); }},
    {"denoise1 at 150", 28, [](HdrBench& b) { b.call(150); }},
    {"hdr_stats", 4, [](HdrBench& b) { b.statistics(); }},
    {"denoise_chroma", 8, [](HdrBench& b) { b.chroma(0); }},
    {"denoise_chroma, fading", 8, [](HdrBench& b) { b.chroma(1); }},
    {"denoise_lumin", 8, [](HdrBench& b) { b.luminance(); }},
    {"copy of the picture", 8, [](HdrBench& b) { b.copy(); }},
};

void add(const std::shared_ptr<HdrBench>& bench, const Case& c, const Target& target) {
  const std::string name = std::string("hdr/") + c.name + "/" + target.name;
  benchmark::RegisterBenchmark(name.c_str(),
                               [=](benchmark::State& state) {
                                 runOn(target);
                                 for (auto _ : state) {
                                   state.PauseTiming();
                                   bench->input = bench->picture;  // the whole call writes into it
                                   state.ResumeTiming();
                                   c.run(*bench);
                                 }
                                 state.counters["pixels"] = 1e6 * bench->size.megapixels();
                                 state.counters["bytes"] = 1e6 * bench->size.megapixels() * c.bytes;
                               })
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(target.name == "plain" ? 3 : 9);
}

}  // namespace

bool registerHdr(const Size& size) {
  const auto bench = std::make_shared<HdrBench>(size);
  if (bench->picture.empty()) return false;
  for (const Case& c : kCases) {
    for (const Target& target : targets()) add(bench, c, target);
  }
  for (const Target& target : targets()) {
    benchmark::RegisterBenchmark(("hdr/smooth_line/" + target.name).c_str(), [=](benchmark::State& state) {
      runOn(target);
      for (auto _ : state) bench->smoothLine();
      state.counters["pixels"] = static_cast<double>(bench->line.size());
      state.counters["bytes"] = 8.0 * static_cast<double>(bench->line.size());
    })->Unit(benchmark::kMillisecond);
  }
  return true;
}

}  // namespace veskaro::bench
