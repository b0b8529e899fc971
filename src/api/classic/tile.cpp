// The tile grid, the work memory and a single tile, for hosts that drive them on their own.
#include <cstdint>
#include <limits>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "api/classic/work_memory.h"
#include "pixels/level.h"
#include "platform/fp_environment.h"
#include "tiled/tile_geometry.h"
#include "tiled/tile_pyramid.h"

namespace veskaro::api {

int workMemoryBytes(const tiled::TileGrid& grid, int threads) {
  constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
  const std::uint64_t sliceBytes = tiled::sliceLayout(grid).floats() * sizeof(float);
  if (sliceBytes > kMost / static_cast<unsigned>(threads)) return NR_ERROR_MEMORY;
  return static_cast<int>(sliceBytes * static_cast<unsigned>(threads));
}

namespace {

void store(int* to, std::int64_t value) {
  if (to != nullptr) *to = static_cast<int>(value);
}

}  // namespace
}  // namespace veskaro::api

extern "C" {

void getDenoiseTileInfo(int wOrig, int hOrig, int BaseUnitTile, int nbProc, int Padding, int Overlap, int* outNumTileX,
                        int* outNumTileY, int* outUnitTileX, int* outUnitTileY, int* outLargestTileX,
                        int* outLargestTileY, int* outExtendedWImage, int* outExtendedHImage) {
  using veskaro::api::store;
  veskaro::tiled::TileGrid grid;
  if (!veskaro::tiled::tileGrid(wOrig, hOrig, BaseUnitTile, nbProc, Padding, Overlap, &grid)) grid = {};
  store(outNumTileX, grid.x.tiles);
  store(outNumTileY, grid.y.tiles);
  store(outUnitTileX, grid.x.unit);
  store(outUnitTileY, grid.y.unit);
  store(outLargestTileX, grid.x.largest);
  store(outLargestTileY, grid.y.largest);
  store(outExtendedWImage, grid.x.extended);
  store(outExtendedHImage, grid.y.extended);
}

int len_pyram(int LevelMax, int wTile, int hTile) {
  return static_cast<int>(veskaro::tiled::pyramidPixels(LevelMax, wTile, hTile));
}

int mem4denoise(int wOrig, int hOrig, int BaseUnitTile, int nbProc) {
  if (wOrig < 1 || hOrig < 1 || BaseUnitTile < 1 || nbProc < 1) return NR_ERROR_ARGUMENT;
  veskaro::tiled::TileGrid grid;
  veskaro::tiled::tileGrid(wOrig, hOrig, BaseUnitTile, nbProc, veskaro::tiled::kPadding, veskaro::tiled::kOverlap,
                           &grid);
  return veskaro::api::workMemoryBytes(grid, nbProc);
}

int denoise_tile(int wTile, int hTile, int* startCoord, int spp, int nbProc, float* workDiff, float* workDest,
                 float* workTemp, float* inOutTile) {
  using namespace veskaro;
  if (spp != pixels::kChannels) return NR_ERROR_ARGUMENT;
  if (wTile < 1 || hTile < 1) return 0;
  const platform::DefaultFpEnvironment environment;
  const params::TileSettings settings = params::tileSettings(api::tuningInForce(), api::reconstructInForce());
  const pixels::Rectangle last = tiled::filterTile(wTile, hTile, pixels::Rectangle::fromCoordinates(startCoord), nbProc,
                                                   {inOutTile, workDiff, workDest, workTemp}, settings);
  startCoord[0] = last.xStart;
  startCoord[1] = last.xEnd;
  startCoord[2] = last.yStart;
  startCoord[3] = last.yEnd;
  return 0;
}

}  // extern "C"
