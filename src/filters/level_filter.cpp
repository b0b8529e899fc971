// One level through both filters, on the calling thread or in bands of rows on worker threads. During a phase every
// worker reads only what no worker of that phase writes, so the bands join without seams.
#include "filters/level_filter.h"

#include <pthread.h>

#include <cstdint>
#include <cstring>

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/colour_difference.h"
#include "filters/level_filter_kernel.h"
#include "filters/noise_reduce.h"
#include "filters/sharpen.h"
#include "platform/fp_environment.h"
#include "pyramid/lift.h"

namespace veskaro {
namespace {

void toComparisonImage(std::ptrdiff_t pixels, const float* level, float* comparison) {
  if (vectors::toComparisonImage(pixels, level, comparison)) return;
  const std::ptrdiff_t samples = pixels * kChannels;
  for (std::ptrdiff_t k = 0; k < samples; k += kChannels) {
    const Ycc p = toComparisonYcc({level[k], level[k + 1], level[k + 2]});
    comparison[k] = p.y;
    comparison[k + 1] = p.bMinusY;
    comparison[k + 2] = p.rMinusY;
  }
}

// A worker's view of the level: it starts firstRow rows down, and the rectangle keeps its distance from the top.
struct Band {
  std::ptrdiff_t offset;  // floats from the start of every buffer
  Rectangle area;
};

Band bandOf(const nr_data& job) {
  const int workers = job.nbProc > 1 ? job.nbProc : 1;
  const auto whole = Rectangle::fromCoordinates(job.startCoord);
  const int rows = whole.yEnd - whole.yStart;
  const int perBand = rows / workers;
  const int firstRow = job.idxProc * perBand;
  const int bandRows = job.idxProc == workers - 1 ? rows - firstRow : perBand;
  return {levelSamples(job.width, firstRow), {whole.xStart, whole.xEnd, whole.yStart, whole.yStart + bandRows}};
}

void reduceNoiseOfBand(nr_data* job) {
  const platform::DefaultFpEnvironment environment;
  const Band band = bandOf(*job);
  reduceNoise(job->width, band.area, job->inImage + band.offset, job->inYCbCr + band.offset,
              job->nr_amounts + band.offset, job->outImage + band.offset,
              params::noiseSettings(api::tuningInForce(), job->rang));
  job->retour = band.area.endRow();
}

void sharpenBand(nr_data* job) {
  const platform::DefaultFpEnvironment environment;
  const Band band = bandOf(*job);
  sharpen(job->width, band.area, job->inImage + band.offset, job->nr_amounts + band.offset, job->outImage + band.offset,
          params::sharpenSettings(api::tuningInForce(), job->rang));
  job->retour = band.area.endRow();
}

void* reduceNoiseWorker(void* job) {
  reduceNoiseOfBand(static_cast<nr_data*>(job));
  return nullptr;
}

void* sharpenWorker(void* job) {
  sharpenBand(static_cast<nr_data*>(job));
  return nullptr;
}

using Worker = void* (*)(void*);

// One phase: a worker a band. Bands whose thread cannot be had are filtered here, once the others are done.
void runPhase(const nr_data& phase, Worker worker, nr_data (&jobs)[kMaxWorkers]) {
  pthread_t threads[kMaxWorkers];
  pthread_attr_t attributes;
  const bool haveAttributes = pthread_attr_init(&attributes) == 0;
  if (haveAttributes) pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
  int started = 0;
  for (int k = 0; k < phase.nbProc; ++k) {
    jobs[k] = phase;
    jobs[k].idxProc = k;
  }
  while (started < phase.nbProc &&
         pthread_create(&threads[started], haveAttributes ? &attributes : nullptr, worker, &jobs[started]) == 0) {
    ++started;
  }
  for (int k = 0; k < started; ++k) pthread_join(threads[k], nullptr);
  for (int k = started; k < phase.nbProc; ++k) worker(&jobs[k]);
  if (haveAttributes) pthread_attr_destroy(&attributes);
}

int filterOnWorkers(int level, int w, int h, const Rectangle& area, int workers, const LevelBuffers& b) {
  int coordinates[4] = {area.xStart, area.xEnd, area.yStart, area.yEnd};
  nr_data jobs[kMaxWorkers];
  const int bands = workers < kMaxWorkers ? workers : kMaxWorkers;
  const nr_data noise = {w,         h,         kChannels, coordinates, level, 0, b.level, b.comparison,
                         b.records, b.reduced, 0,         bands,       0};
  runPhase(noise, reduceNoiseWorker, jobs);
  const nr_data sharpening = {w,       h,         kChannels, coordinates, level, 0, b.reduced,
                              nullptr, b.records, b.level,   0,           bands, 0};
  runPhase(sharpening, sharpenWorker, jobs);
  return jobs[bands - 1].retour;
}

}  // namespace

int filterLevel(int level, int w, int h, const Rectangle& area, int workers, const LevelBuffers& b) {
  if (w < 1 || h < 1) return area.endRow();
  const std::ptrdiff_t samples = levelSamples(w, h);
  toComparisonImage(samples / kChannels, b.level, b.comparison);
  std::memcpy(b.reduced, b.level, static_cast<std::size_t>(samples) * sizeof(float));
  if (workers > 1) return filterOnWorkers(level, w, h, area, workers, b);
  if (!vectors::filterLevel(w, area, b, params::noiseSettings(api::tuningInForce(), level),
                            params::sharpenSettings(api::tuningInForce(), level))) {
    plain::reduceNoise(w, area, b.level, b.comparison, b.records, b.reduced,
                       params::noiseSettings(api::tuningInForce(), level));
    plain::sharpen(w, area, b.reduced, b.records, b.level, params::sharpenSettings(api::tuningInForce(), level));
  }
  return area.endRow();
}

}  // namespace veskaro

extern "C" {

int noiseReduce_set(int rang, int wImage, int hImage, int* startCoord, int spp, int nbProc, int /*doDespeckle*/,
                    float* workDiff, float* workDest, float* workTemp, float* inImg) {
  if (spp != veskaro::kChannels) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  return veskaro::filterLevel(rang, wImage, hImage, veskaro::Rectangle::fromCoordinates(startCoord), nbProc,
                              {inImg, workDest, workTemp, workDiff});
}

void* nr_threaded(void* threadData) {
  veskaro::reduceNoiseWorker(threadData);
  pthread_exit(nullptr);
}

void* sharpen_threaded(void* threadData) {
  veskaro::sharpenWorker(threadData);
  pthread_exit(nullptr);
}

}  // extern "C"
