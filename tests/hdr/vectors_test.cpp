// The vector forms on every instruction set against the plain forms: the same bytes on pictures of all kinds.
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <random>

#include "hdr/rgbe_pictures.h"
#include "support/targets.h"

namespace veskaro::test {
namespace {

struct Size {
  int width, height;
};
// Around the vectors' widths, the taps' reach and the strips' borders.
constexpr Size kSizes[] = {{32, 32}, {33, 40}, {47, 35}, {63, 64}, {64, 33}, {95, 63}, {97, 66}, {301, 70}};
constexpr Size kWideSizes[] = {{1024, 32}, {1025, 33}, {2049, 32}, {3100, 34}, {4111, 32}};
constexpr Size kFlatSizes[] = {{32, 1}, {40, 2}, {70, 5}, {100, 15}, {64, 17}, {5, 60}, {1, 1}, {31, 31}};

// Compares call() on every target with the plain form. Prints the parameters of a failure.
template <class Call>
void expectSameEverywhere(const Call& call, const std::string& parameters) {
  const auto plain = onPlainTarget(call);
  forEachTarget([&](const char*) { ASSERT_TRUE(call() == plain) << parameters; });
}

std::string describe(const Size& s, Kind kind) {
  return std::to_string(s.width) + " x " + std::to_string(s.height) + ", kind " +
         std::to_string(static_cast<int>(kind)) + ", ";
}

TEST(VectorForms, WholeCalls) {
  unsigned seed = 0;
  const int strengths[] = {50, 75, 99, 100, 101, 125, 150};
  const auto check = [&](const Size& size, Kind kind) {
    ++seed;
    const int strength = strengths[(seed + seed / 7) % 7];  // another one for each kind and size
    const RgbePicture picture = randomPicture(size.width, size.height, kind, seed);
    expectSameEverywhere([&] { return callDenoise1(picture, strength); },
                         describe(size, kind) + "strength " + std::to_string(strength));
  };
  for (const Size& size : kSizes) {
    for (Kind kind : kAllKinds) check(size, kind);
  }
  for (const Size& size : kWideSizes) {
    for (Kind kind : {Kind::kPhotograph, Kind::kAnyBytes}) check(size, kind);
  }
}

// Levels that a host might pass, sensible or not.
float anyLevel(std::mt19937& random) {
  constexpr float kRare[] = {0.0f, -0.0f, 1.0f, -1.0f, INFINITY, -INFINITY, NAN, 1e-40f, 3e38f, -3e38f};
  const unsigned pick = random() % 30;
  return pick < 10 ? kRare[pick] : static_cast<float>(random() % 10000) / 1000.0f - 4.0f;
}

TEST(VectorForms, StagesWithAnyLevels) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const Size size = round % 2 ? kFlatSizes[round / 2 % 8] : kSizes[round / 2 % 8];
    const Kind kind = kAllKinds[random() % std::size(kAllKinds)];
    const RgbePicture picture = randomPicture(size.width, size.height, kind, round);
    float levels[4];
    for (float& level : levels) level = anyLevel(random);
    const int strength = static_cast<int>(random() % 4) - 1;
    std::string parameters = describe(size, kind) + "strength " + std::to_string(strength) + ", levels";
    for (float level : levels) parameters += " " + std::to_string(level);
    const ChromaLevels chroma = {strength, levels[3], levels[0], levels[1]};
    expectSameEverywhere([&] { return callChroma(picture, chroma); }, "chroma " + parameters);
    const LuminanceLevels luminance = {strength, levels[0], levels[1], levels[2], levels[3]};
    expectSameEverywhere([&] { return callLuminance(picture, luminance); }, "luminance " + parameters);
  }
  // Negative thresholds make sparks brighter than the exponential can tell.
  RgbePicture sparks(64, 40);
  for (int k = 0; k < 40; ++k) sparks.setPixel((k * 19) % 64, k, {200, 150, 100, 240});
  const LuminanceLevels beyond = {0, 100.0f, 100.0f, 200.0f, -25.0f};
  expectSameEverywhere([&] { return callLuminance(sparks, beyond); }, "luminance of sparks");
}

TEST(VectorForms, Statistics) {
  const auto check = [](RgbePicture picture, const std::string& parameters) {
    const auto measure = [&] {
      std::vector<float> values(6);
      const int code = hdr_stats(0, picture.width, picture.height, 0, 0, 32, 0.002f, picture.data(), values.data());
      values.push_back(static_cast<float>(code));
      return values;
    };
    expectSameEverywhere(measure, parameters);
  };
  unsigned seed = 0;
  for (const Size& size : {Size{1, 1}, Size{7, 3}, Size{15, 40}, Size{16, 16}, Size{33, 1100}, Size{700, 300}}) {
    for (Kind kind : kAllKinds) check(randomPicture(size.width, size.height, kind, ++seed), describe(size, kind));
  }
  // The sample that guides the search leaves out the last column: with it darker than the rest, the guess is too high.
  RgbePicture misleading = randomPicture(17, 50000, Kind::kNarrow, 1);
  for (int j = 0; j < misleading.height; ++j) misleading.setPixel(16, j, {130 + j % 100, 140, 150, 110});
  check(misleading, "a dark column");
}

}  // namespace
}  // namespace veskaro::test
