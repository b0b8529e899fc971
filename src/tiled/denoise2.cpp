// denoise2: profile the noise, derive the tuning, filter the tiles on a team, blend with the input.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "params/auto_profile.h"
#include "platform/fp_environment.h"
#include "platform/team.h"
#include "pixels/level.h"
#include "pixels/rectangle.h"
#include "tiled/recombine.h"
#include "tiled/sample_io.h"
#include "tiled/tile_geometry.h"
#include "tiled/tile_kernel.h"
#include "tiled/tile_pyramid.h"

namespace veskaro {
namespace {

using pixels::kChannels;
using pixels::Rectangle;

constexpr int kSmallestUnitTile = 56;           // the first tile's overlap stays inside the picture
constexpr int kSmallestUnitTileOneThread = 48;  // one thread never shrinks the unit tile

struct Call {
  Pictures pictures;
  TileGrid grid;
  int threads;
  float* params;
  unsigned char* hostWork;
};

bool isRightFormat(const Pictures& p, int samplesPerPixel) {
  constexpr int kMost = std::numeric_limits<int>::max();
  return samplesPerPixel == kChannels && (p.bits == 8 || p.bits == 16) && p.in != nullptr && p.out != nullptr &&
         p.width >= 1 && p.height >= 1 && p.rowStride / kChannels >= p.width && p.rowStride <= kMost / p.height;
}

bool isRightTiling(int baseUnitTile, int threads) {
  return threads >= 1 && baseUnitTile >= (threads == 1 ? kSmallestUnitTileOneThread : kSmallestUnitTile);
}

// The 8-bit view of the input: the samples themselves, or the high-order (second) bytes of 16-bit ones.
ProfileView profileView(const Pictures& p) {
  const int sampleBytes = static_cast<int>(p.sampleBytes());
  return {p.in + (sampleBytes - 1), p.rowStride, sampleBytes};
}

// Measures the noise, or falls back to the defaults times the host's strength factor, and derives the tuning.
int setUpParams(const Call& call) {
  const Pictures& p = call.pictures;
  void* scratch = std::malloc(profileScratchSize(p.width, p.height));
  if (scratch == nullptr) return NR_ERROR_MEMORY;
  const int result = profileNoise(p.width, p.height, profileView(p), call.params, scratch);
  std::free(scratch);
  if (result == NR_ERROR_MEMORY) return result;
  if (result < 0) {
    const float strength = call.params[NR_NOISE_LEVEL];
    params::setDefaults(call.params);
    if (strength <= 1.5f && strength >= 0.5f) call.params[NR_NOISE_LEVEL] *= strength;
  }
  api::putInForce(params::deriveTuning(call.params));
  return NR_OK;
}

// One thread's share of the work memory.
struct Slice {
  std::uint64_t floats;
  bool isForVectors;
};

Slice sliceOf(const TileGrid& grid) {
  const auto vectorFloats = vectors::tileFloats(static_cast<int>(grid.x.largest), static_cast<int>(grid.y.largest));
  if (vectorFloats != 0) return {vectorFloats, true};
  return {sliceLayout(grid).floats(), false};
}

TileBuffers buffersOf(float* slice, const SliceLayout& layout) {
  float* differences = slice + layout.pyramid;
  float* reduced = differences + layout.pyramid;
  return {slice, differences, reduced, reduced + layout.tile};
}

void processTilePlainly(const Call& call, const TileSpan& x, const TileSpan& y, float* slice) {
  const SliceLayout layout = sliceLayout(call.grid);
  const TileBuffers buffers = buffersOf(slice, layout);
  std::memset(buffers.pyramid, 0, layout.pyramid * sizeof(float));
  fillTile(call.pictures, x, y, buffers.pyramid);
  const Rectangle mainArea = {x.tileMainStart, x.tileMainStart + x.mainSize, y.tileMainStart,
                              y.tileMainStart + y.mainSize};
  filterTile(x.tileSize, y.tileSize, mainArea, 1, buffers);
  writeMainRegion(call.pictures, x, y, buffers.pyramid);
}

// Tiles write disjoint regions of the output, each from its thread's own slice of the work memory.
void processTiles(const Call& call, int team, const Slice& slice, float* work) {
  const params::TileSettings settings = params::tileSettings(api::tuningInForce(), api::reconstructInForce());
  const int perRow = static_cast<int>(call.grid.x.tiles);
  const int tiles = static_cast<int>(call.grid.tiles());
#pragma omp parallel num_threads(team)
  {
    const platform::DefaultFpEnvironment environment;
    float* own = nullptr;
#pragma omp critical(veskaro_take_slice)
    {
      own = work;
      work += slice.floats;
    }
    std::memset(own, 0, slice.floats * sizeof(float));
#pragma omp for schedule(guided, 1)
    for (int tile = 0; tile < tiles; ++tile) {
      const TileSpan x = tileSpan(call.grid.x, call.pictures.width, tile % perRow);
      const TileSpan y = tileSpan(call.grid.y, call.pictures.height, tile / perRow);
      if (slice.isForVectors) {
        vectors::processTile(call.pictures, x, y, settings, own);
      } else {
        processTilePlainly(call, x, y, own);
      }
    }
  }
}

void recombine(const Call& call, int team) {
  const params::BlendSettings settings = api::tuningInForce().blend;
#pragma omp parallel num_threads(team)
  {
    const platform::DefaultFpEnvironment environment;
#pragma omp for schedule(static)
    for (int y = 0; y < call.pictures.height; ++y) recombineRow(call.pictures, y, settings);
  }
}

bool isAligned(const void* work) {
  return reinterpret_cast<std::uintptr_t>(work) % alignof(float) == 0;
}

// The host's work memory, if it serves: floats can lie there, and its slices are as large as this processor's tiles
// take. They are not for the smallest tiles, whose padded rows take more than the tile.
float* hostWork(const Call& call, const Slice& slice) {
  if (call.hostWork == nullptr || !isAligned(call.hostWork)) return nullptr;
  if (slice.floats > sliceLayout(call.grid).floats()) return nullptr;
  return reinterpret_cast<float*>(call.hostWork);
}

float* takeWork(const Slice& slice, int team) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(float);
  if (slice.floats > kMost / static_cast<unsigned>(team)) return nullptr;
  return static_cast<float*>(std::malloc(slice.floats * static_cast<unsigned>(team) * sizeof(float)));
}

// The whole call, its arguments known to be right.
int denoise(const Call& call) {
  const int result = setUpParams(call);
  if (result < 0) return result;

  // More threads than tiles would only wait.
  const int team =
      platform::grantedTeam(call.grid.tiles() < call.threads ? static_cast<int>(call.grid.tiles()) : call.threads);
  const Slice slice = sliceOf(call.grid);
  float* const work = hostWork(call, slice);
  float* const ownWork = work == nullptr ? takeWork(slice, team) : nullptr;
  if (work == nullptr && ownWork == nullptr) return NR_ERROR_MEMORY;
  processTiles(call, team, slice, work != nullptr ? work : ownWork);
  std::free(ownWork);
  if (!slice.isForVectors) recombine(call, team);
  return NR_OK;
}

}  // namespace
}  // namespace veskaro

extern "C" int denoise2(const int wOrig, const int hOrig, int sppIn, int rowStride, int bps, const int BaseUnitTile,
                        int nbProc, float* nrParams, unsigned char* work, unsigned char* inImage,
                        unsigned char* outImage) {
  using namespace veskaro;
  Call call = {{inImage, outImage, wOrig, hOrig, rowStride, bps}, {}, nbProc, nrParams, work};
  if (nrParams == nullptr || !isRightFormat(call.pictures, sppIn) || !isRightTiling(BaseUnitTile, nbProc)) {
    return NR_ERROR_ARGUMENT;
  }
  tileGrid(wOrig, hOrig, BaseUnitTile, nbProc, kPadding, kOverlap, &call.grid);
  if (work != nullptr && workMemoryBytes(sliceLayout(call.grid), nbProc) < 0) return NR_ERROR_MEMORY;
  const platform::DefaultFpEnvironment environment;
  int result = NR_OK;
  platform::runWhereTeamsStart([&] { result = denoise(call); });
  return result;
}
