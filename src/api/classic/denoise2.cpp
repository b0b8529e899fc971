// denoise2: measure the noise, put the tuning in force, filter every tile.
#include <cstdint>
#include <limits>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "api/classic/work_memory.h"
#include "measure/measurement.h"
#include "params/noise_level.h"
#include "platform/fp_environment.h"
#include "tiled/filter.h"

namespace veskaro::api {
namespace {

constexpr int kSmallestUnitTileOneThread = 48;  // one thread never shrinks the unit tile

// A host's picture; the row distance of a single row is not looked at.
bool isRightFormat(int width, int height, int samplesPerPixel, int rowStride, int bits) {
  constexpr int kMost = std::numeric_limits<int>::max();
  if (samplesPerPixel != 3 || (bits != 8 && bits != 16) || width < 1 || height < 1) return false;
  return height == 1 ? width <= kMost / 3 : rowStride / 3 >= width && rowStride <= kMost / height;
}

bool isRightTiling(int baseUnitTile, int threads) {
  return threads >= 1 && baseUnitTile >= (threads == 1 ? kSmallestUnitTileOneThread : tiled::kSmallestUnitTile);
}

pixels::PictureView viewOf(unsigned char* samples, int width, int height, int rowStride, int bits) {
  const std::ptrdiff_t bytes = bits / 8;
  return {bits == 8 ? pixels::SampleType::kUint8 : pixels::SampleType::kUint16,
          false,
          {samples, samples + bytes, samples + 2 * bytes},
          3 * bytes,
          height == 1 ? 3 * width * bytes : rowStride * bytes,
          {0, width, 0, height}};
}

pixels::SampleScale scaleOf(int bits) {
  return pixels::integerScale(bits == 8 ? 255.0f : 65535.0f, pixels::Rounding::kTruncate);
}

// Measures the noise, or falls back to the defaults times the host's strength, and puts the tuning in force.
params::TileSettings setUp(const pixels::PictureView& in, const pixels::SampleScale& scale,
                           const platform::Control& control, float* vector) {
  measure::Measurement measurement(in.region.x1, in.region.y1, measure::Scope::kProfile);
  measure::Noise noise;
  const bool isKnown = measurement && measurement.add(in, scale, control) == measure::Result::kDone &&
                       measurement.noise(&noise) && noise.reason == measure::Reason::kMeasured;
  const float strength = vector[NR_NOISE_LEVEL];
  if (isKnown) {
    params::setMeasured(params::withStrength(params::noiseLevelOf(noise.statistic), strength), vector);
  } else {
    params::setUnmeasured(strength, vector);
  }
  const params::Tuning tuning = params::deriveTuning(vector);
  putInForce(tuning);
  return params::tileSettings(tuning, reconstructInForce());
}

// The host's work memory, when floats can lie there. It holds the plain form's slices.
float* floatsIn(unsigned char* hostWork) {
  if (reinterpret_cast<std::uintptr_t>(hostWork) % alignof(float) != 0) return nullptr;
  return reinterpret_cast<float*>(hostWork);
}

// The fastest form whose slices fit a host's work memory.
tiled::Engine engineFor(const tiled::Plan& plan, pixels::SampleType type, const float* work) {
  const tiled::Engine engine = tiled::chooseEngine(plan, type);
  const tiled::Engine plain = tiled::plainEngine(plan.grid);
  return work != nullptr && engine.floats > plain.floats ? plain : engine;
}

}  // namespace
}  // namespace veskaro::api

extern "C" int denoise2(const int wOrig, const int hOrig, int sppIn, int rowStride, int bps, const int BaseUnitTile,
                        int nbProc, float* nrParams, unsigned char* work, unsigned char* inImage,
                        unsigned char* outImage) {
  using namespace veskaro;
  if (nrParams == nullptr || inImage == nullptr || outImage == nullptr ||
      !api::isRightFormat(wOrig, hOrig, sppIn, rowStride, bps) || !api::isRightTiling(BaseUnitTile, nbProc)) {
    return NR_ERROR_ARGUMENT;
  }
  tiled::Plan plan = {wOrig, hOrig, {}, {}};
  tiled::tileGrid(wOrig, hOrig, BaseUnitTile, nbProc, tiled::kPadding, tiled::kOverlap, &plan.grid);
  if (work != nullptr && api::workMemoryBytes(plan.grid, nbProc) < 0) return NR_ERROR_MEMORY;
  const platform::DefaultFpEnvironment environment;
  const pixels::PictureView in = api::viewOf(inImage, wOrig, hOrig, rowStride, bps);
  const pixels::PictureView out = api::viewOf(outImage, wOrig, hOrig, rowStride, bps);
  const pixels::SampleScale scale = api::scaleOf(bps);
  platform::Control control;
  control.threads = nbProc;
  plan.settings = api::setUp(in, scale, control, nrParams);
  float* const floats = api::floatsIn(work);
  const tiled::Engine engine = api::engineFor(plan, in.type, floats);
  const auto result = tiled::filter({plan, in, out, scale}, engine, control, floats);
  return result == platform::LoopResult::kDone ? NR_OK : NR_ERROR_MEMORY;
}
