// One level through both filters, on the calling thread or in bands of rows on worker threads. During a phase every
// worker reads only what no worker of that phase writes, so the bands join without seams.
#include "filters/level_filter.h"

#include <cstring>

#include "filters/level_filter_vectors.h"
#include "filters/noise_reduce.h"
#include "filters/sharpen.h"
#include "pixels/colour.h"
#include "platform/fp_environment.h"
#include "platform/worker_threads.h"

namespace veskaro::filters {
namespace {

using pixels::LevelLayout;
using pixels::Rectangle;
using simd::VectorResult;

void toComparisonImage(const LevelLayout& layout, std::ptrdiff_t count, const LevelBuffers& b) {
  if (vectors::toComparisonImage(layout, count, b) == VectorResult::kDone) return;
  const float* from = b.level;
  float* to = b.comparison;
  for (std::ptrdiff_t n = 0; n < count; ++n, from += layout.pixelFloats, to += layout.pixelFloats) {
    const pixels::Ycc p = pixels::toComparisonYcc({from[0], from[1], from[2]});
    to[0] = p.y;
    to[1] = p.bMinusY;
    to[2] = p.rMinusY;
  }
}

// The comparison image, and the copy of the level that the noise filter works on.
void prepare(const LevelLayout& layout, int height, const LevelBuffers& b) {
  const std::ptrdiff_t count = std::ptrdiff_t{layout.width} * height;
  toComparisonImage(layout, count, b);
  std::memcpy(b.reduced, b.level, static_cast<std::size_t>(count * layout.pixelFloats) * sizeof(float));
}

// What all workers of a call are told.
struct Job {
  LevelLayout layout;
  Rectangle area;
  int workers;
  LevelBuffers buffers;
  params::NoiseSettings noise;
  params::SharpenSettings sharpening;

  LevelBuffers from(const Band& band) const {
    return {buffers.level + band.offset, buffers.reduced + band.offset, buffers.comparison + band.offset,
            buffers.noiseMap + band.offset};
  }
};

void reduceNoiseOfBand(const void* context, int index) {
  const platform::DefaultFpEnvironment environment;
  const Job& job = *static_cast<const Job*>(context);
  const Band band = bandOf(job.layout, job.area, job.workers, index);
  reduceNoise(job.layout, band.area, job.from(band), job.noise);
}

void sharpenBand(const void* context, int index) {
  const platform::DefaultFpEnvironment environment;
  const Job& job = *static_cast<const Job*>(context);
  const Band band = bandOf(job.layout, job.area, job.workers, index);
  sharpen(job.layout, band.area, job.from(band), job.sharpening);
}

int filterOnWorkers(const Job& job) {
  platform::runOnWorkers(job.workers, reduceNoiseOfBand, &job);
  platform::runOnWorkers(job.workers, sharpenBand, &job);
  return bandOf(job.layout, job.area, job.workers, job.workers - 1).area.endRow();
}

}  // namespace

Band bandOf(const LevelLayout& layout, const Rectangle& area, int workers, int index) {
  const int rows = area.yEnd - area.yStart;
  const int perBand = rows / workers;
  const int firstRow = index * perBand;
  const int bandRows = index == workers - 1 ? rows - firstRow : perBand;
  return {layout.at(0, firstRow), {area.xStart, area.xEnd, area.yStart, area.yStart + bandRows}};
}

int filterLevel(const LevelLayout& layout, int height, const Rectangle& area, int workers, const LevelBuffers& b,
                const params::NoiseSettings& noise, const params::SharpenSettings& sharpening) {
  if (layout.width < 1 || height < 1) return area.endRow();
  prepare(layout, height, b);
  if (workers > 1) {
    return filterOnWorkers(
        {layout, area, workers < platform::kMaxWorkers ? workers : platform::kMaxWorkers, b, noise, sharpening});
  }
  if (vectors::filterLevel(layout, area, b, noise, sharpening) != VectorResult::kDone) {
    plain::reduceNoise(layout, area, b, noise);
    plain::sharpen(layout, area, b, sharpening);
  }
  return area.endRow();
}

void plain::filterLevel(const LevelLayout& layout, int height, const Rectangle& area, const LevelBuffers& b,
                        const params::NoiseSettings& noise, const params::SharpenSettings& sharpening) {
  if (layout.width < 1 || height < 1) return;
  prepare(layout, height, b);
  plain::reduceNoise(layout, area, b, noise);
  plain::sharpen(layout, area, b, sharpening);
}

}  // namespace veskaro::filters
