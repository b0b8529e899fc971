#include <pthread.h>

#include <cmath>
#include <limits>
#include <vector>

#include "VeskaroNRLib.h"
#include "support/compare.h"
#include "support/digest.h"
#include "support/guarded.h"
#include "support/pictures.h"
#include "support/targets.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

struct Area {
  int xStart, xEnd, yStart, yEnd;
};

// What noiseReduce_set leaves behind, from buffers that cannot be left at either end.
struct Result {
  int returned;
  std::vector<float> level, reduced, comparison, records;
};

Result runSet(int rang, const Level& level, const Area& area, int workers = 1, Against edge = Against::kEnd) {
  int rectangle[4] = {area.xStart, area.xEnd, area.yStart, area.yEnd};
  Guarded<float> image(level.samples, edge);
  Guarded<float> reduced(level.samples.size(), edge);
  Guarded<float> comparison(level.samples.size(), edge);
  Guarded<float> records(std::vector<float>(level.samples.size(), -7.0f), edge);
  const int returned = noiseReduce_set(rang, level.w, level.h, rectangle, 3, workers, workers % 2, records.data(),
                                       reduced.data(), comparison.data(), image.data());
  return {returned, image.copy(), reduced.copy(), comparison.copy(), records.copy()};
}

void expectSame(const Result& expected, const Result& actual) {
  EXPECT_TRUE(sameBits(expected.comparison, actual.comparison)) << "comparison image";
  EXPECT_TRUE(sameBits(expected.records, actual.records)) << "records";
  EXPECT_TRUE(sameBits(expected.reduced, actual.reduced)) << "noise-reduced level";
  EXPECT_TRUE(sameBits(expected.level, actual.level)) << "sharpened level";
}

// Every instruction set has to give what the plain form gives, which joins the digest and is returned.
Result onEveryTarget(int rang, const Level& level, const Area& area, Digest* digest) {
  SCOPED_TRACE(testing::Message() << level.w << " x " << level.h << ", level " << rang);
  const Result expected = onPlainTarget([&] { return runSet(rang, level, area); });
  for (const auto* written : {&expected.comparison, &expected.records, &expected.reduced, &expected.level}) {
    digest->add(*written);
  }
  forEachTarget([&](const char*) {
    for (const Against edge : {Against::kStart, Against::kEnd})
      expectSame(expected, runSet(rang, level, area, 1, edge));
  });
  return expected;
}

Area inside(const Level& level, int margin = 2) {
  return {margin, level.w - margin, margin, level.h - margin};
}

// Each level has settings of its own, so that a mixed-up level shows.
const ParamChanges kLevelsApart = {
    {NR_LEVEL0_NOISE, 0.3f},      {NR_LEVEL1_NOISE, 0.9f},  {NR_LEVEL2_NOISE, 1.7f},      {NR_LEVEL3_NOISE, 3.1f},
    {NR_LEVEL0_AMOUNT, 0.8f},     {NR_LEVEL1_AMOUNT, 1.1f}, {NR_LEVEL2_AMOUNT, 0.6f},     {NR_LEVEL3_AMOUNT, 1.3f},
    {NR_LEVEL0_SHARPENING, 2.0f}, {NR_SHARPENING, 0.7f},    {NR_CHROMA_SHARPENING, 1.1f}, {NR_LEVEL2_SHARPENING, 0.4f}};

TEST(LevelFilter, FiltersEveryKindOfLevel) {
  Digest digest;
  tune(kLevelsApart);
  unsigned seed = 1;
  for (const Kind kind : {Kind::kFlatNoise, Kind::kScene, Kind::kWhole, Kind::kSpread, Kind::kHostile}) {
    for (int rang = -1; rang <= 4; ++rang) {
      const Level level = makeLevel(61, 23, kind, seed++);
      SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind));
      onEveryTarget(rang, level, inside(level), &digest);
    }
  }
  EXPECT_EQ(digest.text(), "cef09afb47bbad4b");
}

TEST(LevelFilter, FiltersEveryWidth) {
  Digest digest;
  tune();
  for (int w = 5; w <= 40; ++w) {
    const Level level = makeLevel(w, 7, w % 2 == 0 ? Kind::kFlatNoise : Kind::kScene, static_cast<unsigned>(w));
    onEveryTarget(0, level, inside(level), &digest);
  }
  const Level level = makeLevel(48, 40, Kind::kScene, 9);
  onEveryTarget(0, level, {13, 41, 8, 31}, &digest);
  onEveryTarget(0, level, {20, 21, 30, 31}, &digest);
  EXPECT_EQ(digest.text(), "e6c21a8dca98f33d");
}

// Distances that fall exactly on the ends of the tolerance, and settings that turn a step off or past its range.
TEST(LevelFilter, FiltersAtTheEndsOfItsSettings) {
  Digest digest;
  Level steps(40, 9, 50.0f);
  for (int i = 0; i < 40 * 9; ++i) steps.samples[static_cast<std::size_t>(3 * i + i % 3)] += static_cast<float>(i % 11);
  const Level scene = makeLevel(40, 9, Kind::kScene, 4);
  const std::vector<ParamChanges> settings = {
      {{NR_HIGHLIGHT_NOISE, 1.0f}, {NR_NOISE_LEVEL, 4.0f}},   // rolloff 6, whole distances, no highlight slope
      {{NR_HIGHLIGHT_NOISE, -3.0f}, {NR_NOISE_LEVEL, 8.0f}},  // the steepest slope
      {{NR_NOISE_LEVEL, -1.0f}},                              // the smallest rolloff
      {{NR_LEVEL0_NOISE, -2.0f}},                             // the floor of the level's own
      {{NR_LEVEL0_AMOUNT, 0.0f}},
      {{NR_LEVEL0_AMOUNT, 1.8f}},
      {{NR_LEVEL0_AMOUNT, -0.5f}, {NR_SHARPENING, 3.0f}},  // a negative share sharpens nothing
      {{NR_SHARPENING, 0.0f}, {NR_CHROMA_SHARPENING, 0.0f}},
      {{NR_NOISE_LEVEL, 400.0f}, {NR_SHARPENING, -1.0f}},
  };
  for (std::size_t i = 0; i < settings.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "settings " << i);
    tune(settings[i]);
    onEveryTarget(0, steps, inside(steps), &digest);
    onEveryTarget(0, scene, inside(scene), &digest);
  }
  EXPECT_EQ(digest.text(), "9e5800405eec4c75");
}

// Neighbours exactly as far away as the tolerance reaches: what rounding leaves of their weight counts, and one step
// farther nothing does.
TEST(LevelFilter, FiltersWhereTheToleranceEnds) {
  Digest digest;
  tune({{NR_HIGHLIGHT_NOISE, 1.0f}});
  int counted = 0;
  for (int i = 1; i <= 60; ++i) {
    Level level(5, 5, 90.0f);
    level.at(2, 2)[1] += 0.37f * static_cast<float>(i);
    const std::vector<float> comparison = runSet(0, level, {2, 3, 2, 3}).comparison;
    const float* a = &comparison[3 * (2 * 5 + 2)];
    const float* b = a + 3;
    const float distance =
        static_cast<float>(2.0 * std::fabs(a[0] - b[0]) + 0.5 * (std::fabs(a[2] - b[2]) + std::fabs(a[1] - b[1])));
    level0noiseLevel = distance - NRsimilarityThreshold;
    if (level0noiseLevel + NRsimilarityThreshold != distance) continue;
    counted += onEveryTarget(0, level, {2, 3, 2, 3}, &digest).records[3 * (2 * 5 + 2)] != 0.0f;
    level0noiseLevel = std::nextafter(level0noiseLevel, 0.0f);
    onEveryTarget(0, level, {2, 3, 2, 3}, &digest);
  }
  EXPECT_GT(counted, 5);  // else no rounding left anything to see
  EXPECT_EQ(digest.text(), "0d341eafb5c8d87f");
}

TEST(LevelFilter, FiltersFarApartMagnitudes) {
  Digest digest;
  // A tolerance that lets even these resemble each other.
  for (unsigned seed = 0; seed < 4; ++seed) {
    tune({{NR_NOISE_LEVEL, 3e9f}, {NR_HIGHLIGHT_NOISE, 0.9f}});
    const Level spread = makeLevel(60, 20, Kind::kSpread, seed);
    onEveryTarget(0, spread, inside(spread), &digest);
    tune({{NR_NOISE_LEVEL, 900.0f}, {NR_HIGHLIGHT_NOISE, 0.9f}});
    const Level mantissas = makeLevel(60, 20, Kind::kMantissas, seed);
    onEveryTarget(0, mantissas, inside(mantissas), &digest);
  }
  EXPECT_EQ(digest.text(), "80a8ba4971d01d2a");
}

// Hosts may write anything into the tuning variables.
TEST(LevelFilter, FiltersWithAnyTuning) {
  Digest digest;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
  const Level level = makeLevel(40, 9, Kind::kScene, 4);
  for (float* variable :
       {&highnoiseLevelReduce, &level0noiseLevel, &level0NR, &level0SharpAmount, &chromaSharpeningAmount}) {
    for (const float value : {kNotANumber, kInfinity, -kInfinity, 3e38f, 1e-40f, -1.0f, 2.0f, 1e30f}) {
      SCOPED_TRACE(testing::Message() << value);
      tune();
      *variable = value;
      onEveryTarget(0, level, inside(level), &digest);
    }
  }
  tune();
  EXPECT_EQ(digest.text(), "c70815d8ed30b0c1");
}

// Wide levels are filtered in strips of columns.
TEST(LevelFilter, FiltersWideLevels) {
  Digest digest;
  tune();
  for (const int columns : {511, 512, 513, 514, 515, 516, 1023, 1027, 1540}) {
    const Level level = makeLevel(columns + 7, 7, Kind::kScene, static_cast<unsigned>(columns));
    onEveryTarget(0, level, {3, columns + 3, 2, 5}, &digest);
  }
  EXPECT_EQ(digest.text(), "6e1fabc75c0f612d");
}

TEST(LevelFilter, EveryWorkerCountGivesTheSame) {
  tune();
  const Level level = makeLevel(50, 47, Kind::kScene, 3);
  const Area area = {5, 44, 3, 41};
  const Result expected = runSet(0, level, area);
  for (const int workers : {-4, 0, 1, 2, 3, 7, 31, 32, 33, 1000}) {
    SCOPED_TRACE(testing::Message() << workers << " workers");
    const Result result = runSet(0, level, area, workers);
    expectSame(expected, result);
    // The last band ends with the rows that are left over, in its own count of rows.
    const int bands = workers < 2 ? 1 : (workers > 32 ? 32 : workers);
    EXPECT_EQ(result.returned, 3 + 38 - 38 / bands * (bands - 1));
  }
}

TEST(LevelFilter, ARectangleWithoutPixelsWritesNothing) {
  tune();
  for (const auto& [w, h] : {std::pair{4, 9}, {9, 4}, {3, 3}, {1, 1}}) {
    const Level level = makeLevel(w, h, Kind::kScene, 8);
    const Result result = runSet(1, level, inside(level), 1);
    EXPECT_TRUE(sameBits(level.samples, result.level));
    EXPECT_TRUE(sameBits(level.samples, result.reduced));
    EXPECT_TRUE(sameBits(std::vector<float>(level.samples.size(), -7.0f), result.records));
    EXPECT_EQ(runSet(1, level, inside(level), 5).level, level.samples);
  }
}

// The exported halves of the filter take any images, related or not: a destination that is no copy of the level, a
// comparison image that is not the level's, records of anything.
TEST(LevelFilter, TheTwoFiltersTakeAnyImages) {
  Digest digest;
  tune(kLevelsApart);
  for (const Kind kind : {Kind::kFlatNoise, Kind::kScene, Kind::kMantissas, Kind::kHostile}) {
    for (const int w : {70, 1041}) {
      SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", width " << w);
      const int h = 8;
      int rectangle[4] = {3, w - 4, 2, 5};
      const Level level = makeLevel(w, h, kind, 12);
      const Level comparison = makeLevel(w, h, kind, 13);
      const Level before = makeLevel(w, h, Kind::kScene, 14);
      Level anyRecords = makeLevel(w, h, kind, 15);
      // Thresholds that no noise filter leaves.
      constexpr float kInfinity = std::numeric_limits<float>::infinity();
      constexpr float kUnusual[] = {
          std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity, 0.0f, -1.0f, 1e-40f};
      for (int x = 0; x < w * h; x += 5) anyRecords.at(x % w, x / w)[2] = kUnusual[x % 6];
      // Amounts, noise-reduced image and sharpened image.
      const auto run = [&] {
        Guarded<float> img(level.samples, Against::kEnd);
        Guarded<float> ycc(comparison.samples, Against::kEnd);
        Guarded<float> amounts(std::vector<float>(level.samples.size(), -7.0f), Against::kEnd);
        Guarded<float> reduced(before.samples, Against::kEnd);
        EXPECT_EQ(noiseReduce_orig(2, w, h, rectangle, 3, 0, img.data(), ycc.data(), amounts.data(), reduced.data()),
                  5);
        Guarded<float> any(anyRecords.samples, Against::kEnd);
        Guarded<float> sharpened(before.samples, Against::kEnd);
        EXPECT_EQ(sharpen_orig(2, w, h, rectangle, 3, img.data(), any.data(), sharpened.data()), 5);
        return std::vector<std::vector<float>>{amounts.copy(), reduced.copy(), sharpened.copy()};
      };
      const auto expected = onPlainTarget(run);
      for (const auto& written : expected) digest.add(written);
      forEachTarget([&](const char*) {
        const auto got = run();
        for (std::size_t k = 0; k < got.size(); ++k) EXPECT_TRUE(sameBits(expected[k], got[k])) << k;
      });
    }
  }
  EXPECT_EQ(digest.text(), "915f9b3b43f94ad4");
}

// The packed pixels of a level, each followed by its rest up to spp samples.
std::vector<float> widened(const std::vector<float>& packed, int spp, float rest) {
  std::vector<float> wide(packed.size() / 3 * static_cast<std::size_t>(spp), rest);
  for (std::size_t k = 0; k < packed.size(); ++k) wide[k / 3 * static_cast<std::size_t>(spp) + k % 3] = packed[k];
  return wide;
}

TEST(LevelFilter, HostsMayRunTheWorkersThemselves) {
  tune();
  const Level level = makeLevel(50, 30, Kind::kScene, 16);
  int rectangle[4] = {2, 48, 3, 26};
  const Result expected = runSet(3, level, {2, 48, 3, 26});
  for (const int spp : {3, 4}) {
    std::vector<float> image = widened(level.samples, spp, -7.0f), reduced = image, records(image.size(), -7.0f);
    std::vector<float> comparison = widened(expected.comparison, spp, -7.0f);
    nr_data jobs[3];
    const auto runAll = [&](void* (*body)(void*), float* in, float* out) {
      pthread_t threads[3];
      for (int k = 0; k < 3; ++k) {
        jobs[k] = {50, 30, spp, rectangle, 3, 0, in, comparison.data(), records.data(), out, k, 3, -1};
        ASSERT_EQ(pthread_create(&threads[k], nullptr, body, &jobs[k]), 0);
      }
      for (const pthread_t thread : threads) pthread_join(thread, nullptr);
      EXPECT_EQ(jobs[0].retour, 3 + 7);
      EXPECT_EQ(jobs[2].retour, 3 + 23 - 2 * 7);
    };
    runAll(nr_threaded, image.data(), reduced.data());
    EXPECT_TRUE(sameBits(widened(expected.reduced, spp, -7.0f), reduced));
    EXPECT_TRUE(sameBits(widened(expected.records, spp, -7.0f), records));
    runAll(sharpen_threaded, reduced.data(), image.data());
    EXPECT_TRUE(sameBits(widened(expected.level, spp, -7.0f), image));
  }
}

// Pixels of more samples: the first three are filtered as ever, the others of the result and of the scratch images
// stay, but for the working copy of the level.
TEST(LevelFilter, MoreSamplesPerPixelAreLeftAlone) {
  tune();
  const int w = 40, h = 20, spp = 5;
  const Level level = makeLevel(w, h, Kind::kScene, 17);
  const Result expected = runSet(1, level, {2, w - 2, 3, h - 3});
  int rectangle[4] = {2, w - 2, 3, h - 3};
  forEachTarget([&](const char*) {
    for (const int workers : {1, 3}) {
      std::vector<float> image = widened(level.samples, spp, 9.0f), reduced(image.size(), -7.0f);
      std::vector<float> comparison = reduced, records = reduced;
      EXPECT_EQ(noiseReduce_set(1, w, h, rectangle, spp, workers, 0, records.data(), reduced.data(), comparison.data(),
                                image.data()),
                workers == 1 ? h - 3 : 3 + (h - 6) - 2 * ((h - 6) / 3));
      EXPECT_TRUE(sameBits(widened(expected.level, spp, 9.0f), image));
      EXPECT_TRUE(sameBits(widened(expected.reduced, spp, 9.0f), reduced));
      EXPECT_TRUE(sameBits(widened(expected.comparison, spp, -7.0f), comparison));
      EXPECT_TRUE(sameBits(widened(expected.records, spp, -7.0f), records));
    }
    std::vector<float> image = widened(level.samples, spp, 9.0f), comparison = widened(expected.comparison, spp, 9.0f);
    std::vector<float> reduced = image, records(image.size(), -7.0f);
    EXPECT_EQ(
        noiseReduce_orig(1, w, h, rectangle, spp, 0, image.data(), comparison.data(), records.data(), reduced.data()),
        h - 3);
    EXPECT_TRUE(sameBits(widened(expected.reduced, spp, 9.0f), reduced));
    EXPECT_EQ(sharpen_orig(1, w, h, rectangle, spp, reduced.data(), records.data(), image.data()), h - 3);
    EXPECT_TRUE(sameBits(widened(expected.level, spp, 9.0f), image));
  });
}

}  // namespace
}  // namespace veskaro::test
