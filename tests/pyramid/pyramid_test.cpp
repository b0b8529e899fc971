#include <algorithm>
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

// Every instruction set has to give what the plain form gives, which joins the digest.
void onEveryTarget(const Level& coarse, const Level& guide, Digest* digest) {
  SCOPED_TRACE(testing::Message() << guide.w << " x " << guide.h);
  const auto run = [&](Against edge) {
    Guarded<float> lifted(coarse.samples, edge);
    Guarded<float> original(guide.samples, edge);
    Guarded<float> recon(std::vector<float>(guide.samples.size(), -3.0f), edge);  // the frame must stay as it is
    similarityReconstruct(guide.w, guide.h, lifted.data(), original.data(), recon.data());
    EXPECT_TRUE(sameBits(guide.samples, original.copy()));
    return recon.copy();
  };
  const std::vector<float> expected = onPlainTarget([&] { return run(Against::kEnd); });
  digest->add(expected);
  forEachTarget([&](const char*) {
    for (const Against edge : {Against::kStart, Against::kEnd}) EXPECT_TRUE(sameBits(expected, run(edge)));
  });
}

Level coarseFor(const Level& guide, Kind kind, unsigned seed) {
  return makeLevel((guide.w + 1) / 2, (guide.h + 1) / 2, kind, seed);
}

TEST(Reconstruct, PredictsEveryKindOfLevel) {
  Digest digest;
  tune();
  constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
  unsigned seed = 1;
  for (const Kind kind :
       {Kind::kFlatNoise, Kind::kScene, Kind::kWhole, Kind::kSpread, Kind::kMantissas, Kind::kHostile}) {
    using Case = std::pair<float, float>;
    for (const auto& [threshold, rolloff] : {Case{10, 50}, Case{0, 3}, Case{30, 0}, Case{-5, 1e9f},
                                             Case{10, kNotANumber}, Case{3e38f, 3e38f}, Case{kNotANumber, 1}}) {
      reconSimilarityThreshold = threshold;
      reconSimilarityRolloff = rolloff;
      const Level guide = makeLevel(75, 22, kind, ++seed);
      onEveryTarget(coarseFor(guide, kind, seed + 100), guide, &digest);
    }
  }
  EXPECT_EQ(digest.text(), "569979161748e1d4");
}

// Distances whose sum lies next to the middle between two floats: only a sum in double that is rounded once tells on
// which side. In the second the bits that decide come from the smallest samples, in the first from the spread.
TEST(Reconstruct, RoundsSumsOfDistancesOnce) {
  Digest digest;
  constexpr float kPixels[2][3] = {{32768.0f, 0x1p-9f - 0x1p-12f, 0x1p-12f + 0x1p-35f},
                                   {128.0f, 0x1p-17f - 0x1p-26f, 0x1p-26f + 0x1p-43f}};
  for (const auto& pixel : kPixels) {
    Level guide(40, 6);
    for (int i = 0; i < 40 * 6; i += 4) std::copy_n(pixel, 3, guide.at(i % 40, i / 40));
    // The distance is one step above the threshold, where the similarity is a half.
    reconSimilarityThreshold = pixel[0];
    reconSimilarityRolloff = 2.0f * (std::nextafter(pixel[0], 1e9f) - pixel[0]);
    EXPECT_EQ(reconDistanceSimilarity(0.0f, 0.0f, 0.0f, pixel[0], pixel[1], pixel[2]), 0.5f);
    onEveryTarget(coarseFor(guide, Kind::kScene, 1), guide, &digest);
  }
  tune();
  EXPECT_EQ(digest.text(), "af4103aa95a432e9");
}

TEST(Reconstruct, PredictsEverySize) {
  Digest digest;
  tune();
  for (int w = 1; w <= 42; ++w) {
    for (const int h : {1, 2, 3, 4, 5, 8}) {
      const Level guide = makeLevel(w, h, Kind::kScene, static_cast<unsigned>(50 * h + w));
      onEveryTarget(coarseFor(guide, Kind::kWhole, 1), guide, &digest);
    }
  }
  EXPECT_EQ(digest.text(), "637810dc7f9335c5");
}

TEST(Reconstruct, TakesFromItsOwnSideOfAnEdge) {
  tune();
  // Left half 0, right half 200: the pixel before the edge has one like neighbour, whose weight the floor of 0.01 of
  // the other one takes next to nothing from.
  Level guide(7, 5);
  for (int y = 0; y < 5; ++y) {
    for (int k = 0; k < 3 * 3; ++k) guide.at(4, y)[k] = 200.0f;
  }
  Level coarse(4, 3, 1.0f);
  for (int y = 0; y < 3; ++y) {
    for (int k = 0; k < 3 * 2; ++k) coarse.at(2, y)[k] = 2.0f;
  }
  Level recon(7, 5);
  similarityReconstruct(7, 5, coarse.samples.data(), guide.samples.data(), recon.samples.data());
  EXPECT_FLOAT_EQ(recon.at(3, 2)[0], (1.0f + 0.01f * 2.0f) / 1.01f);  // horizontal
  EXPECT_EQ(recon.at(3, 1)[0], 1.0f);                                 // diagonal
  EXPECT_EQ(recon.at(2, 1)[0], 1.0f);                                 // vertical
  EXPECT_EQ(recon.at(4, 2)[0], 2.0f);                                 // copy
}

TEST(Reconstruct, SimilarityFallsOverTheRolloff) {
  tune();
  const auto at = [](float distance) { return reconDistanceSimilarity(5.0f, 5.0f, 5.0f, 5.0f, 5.0f + distance, 5.0f); };
  EXPECT_EQ(at(0.0f), 1.0f);
  EXPECT_EQ(at(10.0f), 1.0f);
  EXPECT_EQ(at(-35.0f), 0.5f);
  EXPECT_EQ(at(60.0f), 0.0f);
  EXPECT_EQ(at(61.0f), 0.0f);
  float pixels[6] = {1.0f, 2.0f, 4.0f, 9.0f, -2.0f, 0.5f};
  EXPECT_EQ(getDistance(0, 3, pixels), 15.5f);
}

TEST(Lift, KeepsEvenRowsAndColumns) {
  for (const auto& [w, h] : {std::pair{5, 3}, {6, 4}, {1, 1}, {17, 2}}) {
    const Level fine = makeLevel(w, h, Kind::kWhole, 6);
    const int wCoarse = (w + 1) / 2;
    const int hCoarse = (h + 1) / 2;
    Guarded<float> in(fine.samples, Against::kEnd);
    Guarded<float> out(static_cast<std::size_t>(3 * wCoarse * hCoarse), Against::kEnd);
    EXPECT_EQ(similarityLift(w, h, wCoarse, hCoarse, in.data(), out.data()), hCoarse);
    for (int i = 0; i < 3 * wCoarse * hCoarse; ++i) {
      EXPECT_EQ(out.data()[i], fine.at(i / 3 % wCoarse * 2, i / 3 / wCoarse * 2)[i % 3]);
    }
    EXPECT_EQ(similarityLift(w, h, wCoarse, 0, in.data(), nullptr), 0);
  }
}

TEST(Difference, IsTakenAndGivenBack) {
  for (const int w : {1, 5, 23}) {
    const Level level = makeLevel(w, 3, Kind::kHostile, 2);
    const Level prediction = makeLevel(w, 3, Kind::kScene, 3);
    std::vector<float> expected(level.samples.size());
    for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = prediction.samples[i] - level.samples[i];
    forEachTarget([&](const char*) {
      Guarded<float> original(level.samples, Against::kEnd);
      Guarded<float> recon(prediction.samples, Against::kStart);
      EXPECT_EQ(differencePass(w, 3, original.data(), recon.data(), original.data()), 3 * w);  // in place
      EXPECT_TRUE(sameBits(expected, original.copy()));
      std::vector<float> back(expected.size());
      EXPECT_EQ(unDifferencePass(w, 3, recon.data(), original.data(), back.data()), 3 * w);
      for (std::size_t i = 0; i < back.size(); ++i) {
        EXPECT_TRUE(isSame(back[i], prediction.samples[i] - expected[i])) << i;
      }
    });
  }
  EXPECT_EQ(differencePass(0, 3, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(unDifferencePass(4, -3, nullptr, nullptr, nullptr), 0);
  std::vector<float> six(3 * 6, 1.0f);  // the product of the sizes counts, whatever their signs
  EXPECT_EQ(differencePass(-2, -3, six.data(), six.data(), six.data()), 6);
  EXPECT_EQ(six, std::vector<float>(3 * 6, 0.0f));
}

}  // namespace
}  // namespace veskaro::test
