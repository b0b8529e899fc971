// Every function that calculates does so in the default floating-point environment, whatever the host has set, and
// gives the host's back.
#include <VeskaroNRLib.h>
#include <fenv.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <xmmintrin.h>

#include <algorithm>
#include <vector>

#include "support/pictures.h"
#include "support/targets.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

constexpr int kWidth = 130, kHeight = 60, kPixels = kWidth * kHeight;
constexpr int kHalfWidth = kWidth / 2, kHalfHeight = kHeight / 2;

// What calls read and write; each has its own.
struct Buffers {
  std::vector<float> level = makeLevel(kWidth, kHeight, Kind::kScene, 3).samples, a = level, b = level, c = level;
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.1f}});
  std::vector<std::uint16_t> samples = makePicture<std::uint16_t>(kWidth, kHeight, 5).samples;
  std::vector<unsigned char> hdr = std::vector<unsigned char>(4 * kPixels);
  std::vector<unsigned char> result = std::vector<unsigned char>(6 * kPixels);
  std::vector<unsigned char> work = std::vector<unsigned char>(20 * kPixels);
  int area[4] = {2, kWidth - 2, 2, kHeight - 2};

  Buffers() {
    for (auto* image : {&level, &a}) image->resize(static_cast<std::size_t>(3 * len_pyram(3, kWidth, kHeight)));
    for (int k = 0; k < 4 * kPixels; ++k) {
      const bool isExponent = k / kWidth % 4 == 3;
      hdr[static_cast<std::size_t>(k)] = static_cast<unsigned char>(isExponent ? 126 + k % 4 : 128 + k * 37 % 100);
    }
  }

  unsigned char* picture() { return reinterpret_cast<unsigned char*>(samples.data()); }
  std::vector<unsigned char> written() const {
    std::vector<unsigned char> bytes = result;
    for (const auto* floats : {&level, &a, &b, &c, &params}) {
      const auto* first = reinterpret_cast<const unsigned char*>(floats->data());
      bytes.insert(bytes.end(), first, first + floats->size() * sizeof(float));
    }
    return bytes;
  }
};

void onThread(void* (*body)(void*), Buffers& b) {
  nr_data job = {kWidth, kHeight, 3, b.area, 0, 0, b.level.data(), b.a.data(), b.b.data(), b.c.data(), 0, 1, 0};
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, body, &job), 0);
  pthread_join(thread, nullptr);
}

struct Entry {
  const char* name;
  void (*call)(Buffers& b);
};

const Entry kEntries[] = {
    {"denoise2",
     [](Buffers& b) {
       denoise2(kWidth, kHeight, 3, 3 * kWidth, 16, 56, 2, b.params.data(), nullptr, b.picture(), b.result.data());
     }},
    {"denoise1", [](Buffers& b) { denoise1(110, kWidth, kHeight, 0, 0, 32, b.hdr.data(), b.result.data()); }},
    {"hdr_stats", [](Buffers& b) { hdr_stats(0, kWidth, kHeight, 0, 0, 32, 0.5f, b.hdr.data(), b.a.data()); }},
    {"denoise_chroma",
     [](Buffers& b) {
       denoise_chroma(1, 0.4f, kWidth, kHeight, 0, 0, 32, 1.0f, 4.0f, b.work.data(), b.hdr.data(), b.result.data());
     }},
    {"denoise_lumin",
     [](Buffers& b) {
       denoise_lumin(1, kWidth, kHeight, 0, 0, 32, -1.0f, 0.0f, 2.0f, 0.4f, b.work.data(), b.hdr.data(),
                     b.result.data());
     }},
    {"smooth_line", [](Buffers& b) { smooth_line(b.a.data(), b.level.data(), 3, 200, 2); }},
    {"auto_profile",
     [](Buffers& b) { auto_profile(kWidth, kHeight, 3 * kWidth, b.params.data(), b.work.data(), b.picture()); }},
    {"recalcDeviations",
     [](Buffers& b) { b.a[0] = recalcDeviations(kWidth, kHeight, 3 * kWidth, 32, 0, b.picture()); }},
    {"calcParams",
     [](Buffers& b) {
       std::fill(b.params.begin(), b.params.end(), 0.7f);
       calcParams(b.params.data());
       b.a = {level0noiseLevel,     level2SharpAmount, highlightNRhighThreshold,
              highlightNRintercept, highlightNRslope,  highnoiseLevelReduce};
     }},
    {"denoise_tile",
     [](Buffers& b) {
       denoise_tile(kWidth, kHeight, b.area, 3, 0, b.a.data(), b.b.data(), b.c.data(), b.level.data());
     }},
    {"noiseReduce_set",
     [](Buffers& b) {
       noiseReduce_set(0, kWidth, kHeight, b.area, 3, 1, 0, b.a.data(), b.b.data(), b.c.data(), b.level.data());
     }},
    {"noiseReduce_orig",
     [](Buffers& b) {
       noiseReduce_orig(0, kWidth, kHeight, b.area, 3, 0, b.level.data(), b.a.data(), b.b.data(), b.c.data());
     }},
    {"sharpen_orig",
     [](Buffers& b) { sharpen_orig(0, kWidth, kHeight, b.area, 3, b.level.data(), b.a.data(), b.b.data()); }},
    {"nr_threaded", [](Buffers& b) { onThread(nr_threaded, b); }},
    {"sharpen_threaded", [](Buffers& b) { onThread(sharpen_threaded, b); }},
    {"similarityReconstruct",
     [](Buffers& b) { similarityReconstruct(kWidth, kHeight, b.a.data(), b.level.data(), b.b.data()); }},
    {"differencePass",
     [](Buffers& b) { differencePass(kHalfWidth, kHalfHeight, b.level.data(), b.a.data() + 1, b.b.data()); }},
    {"unDifferencePass",
     [](Buffers& b) { unDifferencePass(kHalfWidth, kHalfHeight, b.level.data(), b.a.data() + 1, b.b.data()); }},
};

// Sets it in the threads of a team too: each has its own. Some runtimes give the caller's back behind the region.
void setEnvironment(int rounding, unsigned control) {
  const auto set = [rounding, control] {
    fesetround(rounding);
    _mm_setcsr((_mm_getcsr() & ~0x8040u) | control);
  };
#pragma omp parallel num_threads(2)
  set();
  set();
}

TEST(Environment, IsTheDefaultOneInEveryEntry) {
  constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040, kFlags = 0x3f;
  forEachTarget([](const char*) {
    for (const Entry& entry : kEntries) {
      tune();
      Buffers expected, got;
      entry.call(expected);
      tune();
      setEnvironment(FE_UPWARD, kFlushToZero | kDenormalsAreZero);
      const unsigned before = _mm_getcsr();
      entry.call(got);
      const unsigned after = _mm_getcsr();
      const int rounding = fegetround();
      setEnvironment(FE_TONEAREST, 0);
      EXPECT_TRUE(got.written() == expected.written()) << entry.name;
      EXPECT_EQ(after & ~kFlags, before & ~kFlags) << entry.name << " did not give the environment back";
      EXPECT_EQ(rounding, FE_UPWARD) << entry.name;
    }
  });
}

}  // namespace
}  // namespace veskaro::test
