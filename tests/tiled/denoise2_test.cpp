#include <algorithm>
#include <array>
#include <limits>
#include <random>
#include <type_traits>
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

template <typename Sample>
class Denoise2 : public testing::Test {};
using Depths = testing::Types<std::uint8_t, std::uint16_t>;
TYPED_TEST_SUITE(Denoise2, Depths);

struct Options {
  int unitTile = 64;
  int threads = 2;
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
  unsigned char* work = nullptr;
};

// Runs the picture from exactly its own bytes into exactly as many, each against a page that cannot be touched.
template <typename Sample>
std::vector<Sample> run(const Picture<Sample>& in, Options* options, Sample filling = 0, Against edge = Against::kEnd) {
  Guarded<Sample> input(in.samples, edge);
  Guarded<Sample> output(std::vector<Sample>(in.samples.size(), filling), edge);
  EXPECT_EQ(denoise2(in.width, in.height, 3, in.rowStride, 8 * sizeof(Sample), options->unitTile, options->threads,
                     options->params.data(), options->work, reinterpret_cast<unsigned char*>(input.data()),
                     reinterpret_cast<unsigned char*>(output.data())),
            NR_OK);
  EXPECT_TRUE(sameBits(in.samples, input.copy())) << "the input was written";
  return output.copy();
}

template <typename Sample>
std::vector<Sample> run(const Picture<Sample>& in, Options options = {}) {
  return run(in, &options);
}

TYPED_TEST(Denoise2, IsTheSameOnEveryTarget) {
  Digest digest;
  using Case = std::array<int, 4>;
  for (const auto& [width, height, unitTile, threads] :
       {Case{150, 100, 56, 2}, Case{150, 100, 48, 1}, Case{97, 65, 256, 1}, Case{1, 1, 256, 1}, Case{5, 40, 64, 3},
        Case{129, 33, 64, 1}, Case{640, 40, 700, 1}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", unit " << unitTile);
    const auto picture = makePicture<TypeParam>(width, height, 11);
    Options options;
    options.unitTile = unitTile;
    options.threads = threads;
    Options measured = options;
    const std::vector<TypeParam> expected = onPlainTarget([&] { return run(picture, &measured); });
    digest.add(measured.params);
    digest.add(expected);
    forEachTarget([&](const char*) { EXPECT_TRUE(sameBits(expected, run(picture, options))); });
  }
  EXPECT_EQ(digest.text(), sizeof(TypeParam) == 1 ? "971bcdc6a0b88eca" : "74ea65fd848dd6a1");
}

TYPED_TEST(Denoise2, BlendsAsTheParametersSay) {
  tune();
  // Too small to profile: the defaults hold, so that the highlight ramp and the shares are known.
  auto picture = makePicture<TypeParam>(60, 31, 2);
  for (int i = 10 * 60; i < 31 * 60; ++i) {  // a grey ramp up to white, across the end of the highlight ramp
    std::fill_n(&picture.samples[static_cast<std::size_t>(3 * i)], 3,
                static_cast<TypeParam>((196 + i % 60) * (sizeof(TypeParam) == 1 ? 1 : 257)));
  }
  Options options;
  const std::vector<TypeParam> result = run(picture, &options);
  EXPECT_EQ(options.params, defaultParams());
  Digest digest;
  digest.add(result);
  EXPECT_EQ(digest.text(), sizeof(TypeParam) == 1 ? "13f11390025b6bfd" : "3696db12812dc421");
}

// A host's own parameters, sense or nonsense: every instruction set does with them what the plain code does.
TYPED_TEST(Denoise2, TakesAnyParameters) {
  Digest digest;
  const auto picture = makePicture<TypeParam>(140, 90, 61);
  std::mt19937 engine(1);
  constexpr float kInfinity = std::numeric_limits<float>::infinity(), kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kValues[] = {0.0f, -1.0f, 0.3f, 1e-40f, 3.0f, 100.0f, 1e20f, -3e38f, kInfinity, kNaN};
  for (int i = 0; i < 12; ++i) {
    Options options;
    for (int changes = 0; changes < 4; ++changes) {
      options.params[engine() % NR_PARAM_COUNT] = kValues[engine() % (sizeof kValues / sizeof kValues[0])];
    }
    const std::vector<TypeParam> expected = onPlainTarget([&] { return run(picture, options); });
    digest.add(expected);
    forEachTarget([&](const char*) { EXPECT_TRUE(sameBits(expected, run(picture, options))) << "vector " << i; });
  }
  EXPECT_EQ(digest.text(), sizeof(TypeParam) == 1 ? "563531cfcb112d8e" : "5383c3bea219d359");
  tune();
}

TYPED_TEST(Denoise2, LeavesPaddingAlone) {
  const auto tight = makePicture<TypeParam>(131, 70, 21);
  const std::vector<TypeParam> expected = run(tight);
  for (const TypeParam filling : {TypeParam{0}, TypeParam{77}, std::numeric_limits<TypeParam>::max()}) {
    for (const Against edge : {Against::kStart, Against::kEnd}) {
      const auto padded = makePicture<TypeParam>(131, 70, 21, 10, filling);
      Options options;
      const std::vector<TypeParam> result = run(padded, &options, TypeParam{201}, edge);
      for (std::size_t i = 0; i < result.size(); ++i) {
        const std::size_t x = i % static_cast<std::size_t>(padded.rowStride);
        const std::size_t y = i / static_cast<std::size_t>(padded.rowStride);
        ASSERT_EQ(result[i], x < 393 ? expected[y * 393 + x] : 201) << x << ", " << y;
      }
    }
  }
}

TYPED_TEST(Denoise2, TakesBuffersOfAnyAlignment) {
  auto picture = makePicture<TypeParam>(100, 70, 31);
  const std::vector<TypeParam> expected = run(picture);
  const std::size_t bytes = picture.samples.size() * sizeof(TypeParam);
  const int needed = mem4denoise(100, 70, 64, 2);
  for (const std::size_t shift : {0, 1, 2, 3}) {
    std::vector<unsigned char> in(bytes + shift);
    std::vector<unsigned char> out(bytes + shift);
    Guarded<unsigned char> work(static_cast<std::size_t>(needed) + shift, Against::kEnd);
    std::memcpy(in.data() + shift, picture.samples.data(), bytes);
    std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
    EXPECT_EQ(denoise2(100, 70, 3, 300, 8 * sizeof(TypeParam), 64, 2, params.data(), work.data() + shift,
                       in.data() + shift, out.data() + shift),
              NR_OK);
    EXPECT_EQ(std::memcmp(out.data() + shift, expected.data(), bytes), 0) << "shift " << shift;
    // The amount asked for is enough from its first to its last byte.
    Guarded<unsigned char> low(static_cast<std::size_t>(needed), Against::kStart);
    Options options;
    options.work = low.data();
    EXPECT_TRUE(sameBits(expected, run(picture, &options)));
  }
}

TYPED_TEST(Denoise2, EveryTeamGivesTheSame) {
  const auto picture = makePicture<TypeParam>(300, 200, 41);
  Options options;
  const std::vector<TypeParam> expected = run(picture, options);
  for (const int threads : {3, 4, 16, 300}) {
    options.threads = threads;
    EXPECT_TRUE(sameBits(expected, run(picture, options))) << threads << " threads";
  }
  // One thread cuts its tiles alike where nothing is left over.
  const auto even = makePicture<TypeParam>(256, 128, 42);
  options.threads = 1;
  const std::vector<TypeParam> alone = run(even, options);
  options.threads = 2;
  EXPECT_TRUE(sameBits(alone, run(even, options)));
}

TEST(Denoise2Profile, FallsBackToDefaultsTimesTheStrength) {
  const Picture<std::uint8_t> flat(64, 64, 0, 120);
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  using Case = std::pair<float, float>;
  for (const auto& [strength, factor] :
       {Case{1.2f, 1.2f}, Case{0.5f, 0.5f}, Case{1.5f, 1.5f}, Case{2.0f, 1.0f}, Case{0.4f, 1.0f}, Case{kNaN, 1.0f}}) {
    Options options;
    options.params.assign(NR_PARAM_COUNT, 0.7f);
    options.params[NR_NOISE_LEVEL] = strength;
    const std::vector<std::uint8_t> result = run(flat, &options);
    EXPECT_EQ(options.params, defaultParams({{NR_NOISE_LEVEL, factor * 46.4801f}})) << strength;
    EXPECT_EQ(NRsimilarityRolloff, factor * 46.4801f * 1.5f);
    for (const int sample : result) EXPECT_NEAR(sample, 120, 1);
  }
}

TEST(Denoise2Profile, LooksAtTheHighBytes) {
  const auto eight = makePicture<std::uint8_t>(200, 100, 51);
  Picture<std::uint16_t> sixteen(200, 100);
  for (std::size_t i = 0; i < eight.samples.size(); ++i) {
    sixteen.samples[i] = static_cast<std::uint16_t>(eight.samples[i] << 8 | (i * 37 & 255));
  }
  Options of8;
  Options of16;
  run(eight, &of8);
  run(sixteen, &of16);
  EXPECT_NE(of8.params, defaultParams());
  EXPECT_EQ(of8.params, of16.params);
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
  std::vector<unsigned char> scratch(48 * 6 * 3 + 1280);
  std::vector<unsigned char> copy(eight.samples.begin(), eight.samples.end());
  EXPECT_GT(auto_profile(200, 100, 600, params.data(), scratch.data(), copy.data()), 0);
  EXPECT_EQ(params, of8.params);
}

// Measured gains, less a quarter of a decibel: +2.80, +4.00 and +1.90 dB.
TEST(Denoise2Quality, BringsANoisyPhotographCloserToTheCleanOne) {
  const Picture<std::uint8_t> clean = readPhotograph();
  struct Case {
    double deviation;
    float strength;
    double gain;
  };
  for (const Case& c : std::vector<Case>{{10.0, 0.5f, 2.55}, {20.0, 0.5f, 3.75}, {20.0, 1.0f, 1.65}}) {
    SCOPED_TRACE(testing::Message() << "noise " << c.deviation << ", strength " << c.strength);
    Options options;
    options.params[NR_NOISE_LEVEL] = c.strength;
    const auto noisy = withNoise<std::uint8_t>(clean, c.deviation, 1);
    EXPECT_GT(psnr(clean, run(noisy, options)) - psnr(clean, noisy.samples), c.gain);
    const auto deep = withNoise<std::uint16_t>(clean, c.deviation, 1);
    EXPECT_GT(psnr(clean, run(deep, options)) - psnr(clean, deep.samples), c.gain);
  }
}

}  // namespace
}  // namespace veskaro::test
