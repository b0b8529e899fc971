#include <array>
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

std::size_t floatsOf(int pixels) {
  return 3 * static_cast<std::size_t>(pixels);
}

struct Result {
  std::vector<float> tile, pyramid, differences, prediction;
  std::array<int, 4> area;
};

Result runTile(const Level& tile, const std::array<int, 4>& area, int workers) {
  const int w = tile.w;
  const int h = tile.h;
  Result r;
  r.area = area;
  Guarded<float> pyramid(floatsOf(len_pyram(3, w, h)), Against::kEnd);
  Guarded<float> differences(floatsOf(len_pyram(3, w, h)), Against::kEnd);
  Guarded<float> scratch(floatsOf(w * h), Against::kEnd);
  Guarded<float> prediction(floatsOf(w * h), Against::kEnd);
  std::copy(tile.samples.begin(), tile.samples.end(), pyramid.data());
  EXPECT_EQ(denoise_tile(w, h, r.area.data(), 3, workers, differences.data(), scratch.data(), prediction.data(),
                         pyramid.data()),
            0);
  r.pyramid = pyramid.copy();
  r.tile.assign(r.pyramid.begin(), r.pyramid.begin() + static_cast<std::ptrdiff_t>(tile.samples.size()));
  r.differences = differences.copy();
  r.prediction = prediction.copy();
  return r;
}

TEST(DenoiseTile, IsTheSameOnEveryTargetAndWithWorkers) {
  Digest digest;
  tune();
  for (const auto& [w, h] : {std::pair{116, 76}, {41, 97}, {40, 60}, {90, 23}, {17, 17}}) {
    for (const Kind kind : {Kind::kFlatNoise, Kind::kScene, Kind::kWhole}) {
      SCOPED_TRACE(testing::Message() << w << " x " << h << ", kind " << static_cast<int>(kind));
      const Level tile = makeLevel(w, h, kind, 5);
      const std::array<int, 4> area = {8, w - 8, 8, h - 8};
      const Result expected = onPlainTarget([&] { return runTile(tile, area, 1); });
      digest.add(expected.tile);
      forEachTarget([&](const char*) {
        const Result result = runTile(tile, area, 1);
        EXPECT_TRUE(sameBits(expected.pyramid, result.pyramid));
        EXPECT_TRUE(sameBits(expected.prediction, result.prediction));
      });
      const Result workers = runTile(tile, area, 3);
      EXPECT_TRUE(sameBits(expected.tile, workers.tile));
      EXPECT_EQ(workers.area, (std::array<int, 4>{2, (w + 7) / 8 - 2, 2, (h + 7) / 8 - 2}));
    }
  }
  EXPECT_EQ(digest.text(), "0ff5c232c68182fd");
}

TEST(DenoiseTile, LevelsLeftAloneComeBack) {
  ParamChanges off = {{NR_SHARPENING, 0.0f}, {NR_CHROMA_SHARPENING, 0.0f}};
  for (int k = NR_LEVEL0_AMOUNT; k <= NR_LEVEL3_AMOUNT; ++k) off.push_back({k, 0.0f});
  tune(off);
  const Level tile = makeLevel(97, 64, Kind::kScene, 7);
  const Result result = runTile(tile, {8, 89, 8, 56}, 1);
  for (int y = 8; y < 56; ++y) {
    for (int k = 3 * 8; k < 3 * 89; ++k) {
      EXPECT_NEAR(result.tile[static_cast<std::size_t>(y * 97 * 3 + k)], tile.at(0, y)[k], 2e-3);
    }
  }
}

}  // namespace
}  // namespace veskaro::test
