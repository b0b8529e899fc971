#include "tiled/tile_geometry.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "VeskaroNRLib.h"

namespace veskaro::test {
namespace {

using namespace tiled;

// Tiles, unit and largest tile of both axes and the extended size, as the host gets them.
std::array<int, 8> gridOf(int w, int h, int base, int threads, int padding = 8, int overlap = 32) {
  std::array<int, 8> g;
  getDenoiseTileInfo(w, h, base, threads, padding, overlap, &g[0], &g[1], &g[2], &g[3], &g[4], &g[5], &g[6], &g[7]);
  return g;
}

TEST(TileGeometry, WorkedExamples) {
  using Grid = std::array<int, 8>;
  EXPECT_EQ(gridOf(1000, 1000, 256, 4), (Grid{4, 4, 254, 254, 318, 318, 1016, 1016}));
  EXPECT_EQ(gridOf(1000, 1000, 256, 1), (Grid{3, 3, 256, 256, 528, 528, 1016, 1016}));
  EXPECT_EQ(gridOf(100, 60, 256, 1), (Grid{1, 1, 116, 76, 116, 76, 116, 76}));
  EXPECT_EQ(gridOf(100, 60, 256, 9), (Grid{1, 1, 116, 76, 116, 76, 116, 76}));
  EXPECT_EQ(gridOf(576, 577, 256, 2), (Grid{2, 3, 256, 197, 360, 261, 592, 593}));  // a quarter left over, and more
  EXPECT_EQ(gridOf(576, 577, 256, 1), (Grid{2, 2, 256, 256, 360, 361, 592, 593}));
  EXPECT_EQ(gridOf(500, 500, 100, 1, 0, 10), (Grid{5, 5, 100, 100, 120, 120, 500, 500}));
  EXPECT_EQ(len_pyram(3, 318, 318), 134405);
  EXPECT_EQ(len_pyram(3, 528, 528), 370260);
  EXPECT_EQ(len_pyram(0, 7, 9), 63);
  EXPECT_EQ(len_pyram(-1, 7, 9), 63);
  EXPECT_EQ(mem4denoise(1000, 1000, 256, 4), 22610784);
  EXPECT_EQ(mem4denoise(1000, 1000, 256, 1), 15577056);

  const TileGrid grid = [] {
    TileGrid g;
    EXPECT_TRUE(tileGrid(1000, 1000, 256, 4, kPadding, kOverlap, &g));
    return g;
  }();
  const std::vector<std::array<int, 3>> readsAndSizes = {
      {0, 286, 294}, {222, 540, 318}, {476, 794, 318}, {730, 1000, 278}};
  for (int k = 0; k < 4; ++k) {
    const TileSpan s = tileSpan(grid.x, 1000, k);
    EXPECT_EQ((std::array<int, 3>{s.readStart, s.readEnd, s.tileSize}), readsAndSizes[static_cast<std::size_t>(k)]);
  }
}

// Walks one axis: main regions tile the picture once, and every tile has what its filters reach for.
void expectPartition(int size, int base, int threads) {
  SCOPED_TRACE(testing::Message() << size << " pixels, unit " << base << ", " << threads << " threads");
  TileGrid grid;
  ASSERT_TRUE(tileGrid(size, 1, base, threads, kPadding, kOverlap, &grid));
  int covered = 0;
  for (int k = 0; k < grid.x.tiles; ++k) {
    const TileSpan s = tileSpan(grid.x, size, k);
    const bool isFirst = k == 0;
    const bool isLast = k == grid.x.tiles - 1;
    ASSERT_EQ(s.mainStart, covered);
    ASSERT_GE(s.mainSize, 1);
    covered += s.mainSize;
    ASSERT_EQ(s.readStart, isFirst ? 0 : s.mainStart - kOverlap);
    ASSERT_EQ(s.readEnd, isLast ? size : covered + kOverlap);
    ASSERT_GE(s.readStart, 0);
    ASSERT_LE(s.readEnd, size);
    ASSERT_EQ(s.tileStart, isFirst ? kPadding : 0);
    ASSERT_EQ(s.tileMainStart - s.tileStart, s.mainStart - s.readStart);
    ASSERT_EQ(s.tileSize, s.tileStart + (s.readEnd - s.readStart) + (isLast ? kPadding : 0));
    ASSERT_LE(s.tileSize, grid.x.largest);
  }
  ASSERT_EQ(covered, size);
}

TEST(TileGeometry, MainRegionsPartitionThePicture) {
  for (const int base : {48, 49, 55, 56, 57, 63, 64, 100, 127, 128, 256, 512}) {
    for (const int threads : {1, 2}) {
      if (threads > 1 && base < 56) continue;
      for (int size = 1; size <= 1500; ++size) expectPartition(size, base, threads);
      for (const int size : {4093, 65521, 1000003}) expectPartition(size, base, threads);
    }
  }
}

TEST(TileGeometry, WorkMemoryGrowsWithTheTeamUntilItFitsNoInt) {
  for (const int size : {1, 40, 241, 1000, 5003}) {
    const int two = mem4denoise(size, 2 * size, 256, 2);
    EXPECT_EQ(mem4denoise(size, 2 * size, 256, 6), 3 * two);
    const std::array<int, 8> g = gridOf(size, 2 * size, 256, 2);
    EXPECT_EQ(two, 2 * 24 * (g[4] * g[5] + len_pyram(3, g[4], g[5])));
  }
  EXPECT_GT(mem4denoise(100000, 100000, 5000, 1), 0);
  EXPECT_EQ(mem4denoise(100000, 100000, 5000, 2), NR_ERROR_MEMORY);
  EXPECT_EQ(mem4denoise(2147483647, 2147483647, 2147483647, 1), NR_ERROR_MEMORY);
  EXPECT_EQ(mem4denoise(2147483647, 2147483647, 2147483647, 2147483647), NR_ERROR_MEMORY);
  EXPECT_GT(mem4denoise(500, 500, 1, 1), 0);
  for (const auto& [w, h, base, threads] :
       std::vector<std::array<int, 4>>{{0, 9, 256, 1}, {9, -1, 256, 1}, {9, 9, 0, 1}, {9, 9, 256, 0}}) {
    EXPECT_EQ(mem4denoise(w, h, base, threads), NR_ERROR_ARGUMENT);
  }
}

TEST(TileGeometry, NoGridGivesZeros) {
  EXPECT_EQ(gridOf(100, 100, 0, 1), (std::array<int, 8>{}));
  EXPECT_EQ(gridOf(-16, 100, 256, 1), (std::array<int, 8>{}));
  getDenoiseTileInfo(100, 100, 256, 1, 8, 32, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace
}  // namespace veskaro::test
