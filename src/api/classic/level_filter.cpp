// The exported level filters: whole levels, rectangles, and the bodies of worker threads.
#include "filters/level_filter.h"

#include "VeskaroNRLib.h"
#include "api/classic/variables.h"
#include "filters/noise_reduce.h"
#include "filters/sharpen.h"
#include "platform/fp_environment.h"
#include "platform/system.h"

using namespace veskaro;

namespace {

params::NoiseSettings noiseInForce(int level) {
  return params::noiseSettings(api::tuningInForce(), level);
}

params::SharpenSettings sharpeningInForce(int level) {
  return params::sharpenSettings(api::tuningInForce(), level);
}

bool isPixelSize(int spp) {
  return spp >= pixels::kChannels;
}

filters::Band bandOf(const nr_data& job) {
  return filters::bandOf({job.width, job.spp}, pixels::Rectangle::fromCoordinates(job.startCoord),
                         job.nbProc > 1 ? job.nbProc : 1, job.idxProc);
}

int reduceNoiseOfBand(const nr_data& job) {
  if (!isPixelSize(job.spp)) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const filters::Band band = bandOf(job);
  filters::reduceNoise(
      {job.width, job.spp}, band.area,
      {job.inImage + band.offset, job.outImage + band.offset, job.inYCbCr + band.offset, job.nr_amounts + band.offset},
      noiseInForce(job.rang));
  return band.area.endRow();
}

int sharpenBand(const nr_data& job) {
  if (!isPixelSize(job.spp)) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const filters::Band band = bandOf(job);
  filters::sharpen({job.width, job.spp}, band.area,
                   {job.outImage + band.offset, job.inImage + band.offset, nullptr, job.nr_amounts + band.offset},
                   sharpeningInForce(job.rang));
  return band.area.endRow();
}

}  // namespace

extern "C" {

int noiseReduce_set(int rang, int wImage, int hImage, int* startCoord, int spp, int nbProc, int /*doDespeckle*/,
                    float* workDiff, float* workDest, float* workTemp, float* inImg) {
  if (!isPixelSize(spp)) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  return filters::filterLevel({wImage, spp}, hImage, pixels::Rectangle::fromCoordinates(startCoord), nbProc,
                              {inImg, workDest, workTemp, workDiff}, noiseInForce(rang), sharpeningInForce(rang));
}

int noiseReduce_orig(int rang, int wImage, int /*hImage*/, int* startCoord, int spp, int /*doDespeckle*/, float* img,
                     float* YCbCr_img, float* NRamounts, float* dest) {
  if (!isPixelSize(spp)) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const auto area = pixels::Rectangle::fromCoordinates(startCoord);
  filters::reduceNoise({wImage, spp}, area, {img, dest, YCbCr_img, NRamounts}, noiseInForce(rang));
  return area.endRow();
}

int sharpen_orig(int rang, int wImage, int /*hImage*/, int* startCoord, int spp, float* img, float* NRamounts,
                 float* dest) {
  if (!isPixelSize(spp)) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const auto area = pixels::Rectangle::fromCoordinates(startCoord);
  filters::sharpen({wImage, spp}, area, {dest, img, nullptr, NRamounts}, sharpeningInForce(rang));
  return area.endRow();
}

void* nr_threaded(void* threadData) {
  nr_data* const job = static_cast<nr_data*>(threadData);
  job->retour = reduceNoiseOfBand(*job);
  platform::endThread();
}

void* sharpen_threaded(void* threadData) {
  nr_data* const job = static_cast<nr_data*>(threadData);
  job->retour = sharpenBand(*job);
  platform::endThread();
}

}  // extern "C"
