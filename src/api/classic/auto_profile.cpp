// The noise profile on a host's buffers.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "VeskaroNRLib.h"
#include "measure/measurement.h"
#include "params/noise_level.h"
#include "platform/fp_environment.h"

namespace veskaro::api {
namespace {

using measure::Noise;

// Parallel arrays, one entry a block.
struct BlockList {
  float* deviation;
  int* average;
  int* position;
  std::int64_t count = 0;

  void append(float itsDeviation, int itsAverage, int itsPosition) {
    put(count++, itsDeviation, itsAverage, itsPosition);
  }
  void put(std::int64_t at, float itsDeviation, int itsAverage, int itsPosition) const {
    deviation[at] = itsDeviation;
    average[at] = itsAverage;
    position[at] = itsPosition;
  }
};

// The arrays that a host finds in its scratch afterwards, without gaps, floats first.
struct HostScratch {
  BlockList all, kept, shadows, highlights;
  float* combinedDeviation;
  int* combinedAverage;
  BlockList picked;

  static std::size_t bytes(std::int64_t blocks) { return 48 * static_cast<std::size_t>(blocks) + 1280; }

  HostScratch(void* memory, std::int64_t blocks) {
    constexpr std::int64_t kBothHalves = 2 * measure::kMostOfHalf;
    auto* nextFloat = static_cast<float*>(memory);
    const auto floats = [&nextFloat](std::int64_t n) { return (nextFloat += n) - n; };
    for (BlockList* list : {&all, &kept, &shadows, &highlights}) list->deviation = floats(blocks);
    combinedDeviation = floats(kBothHalves);
    picked.deviation = floats(kBothHalves);
    auto* nextInt = reinterpret_cast<int*>(nextFloat);
    const auto ints = [&nextInt](std::int64_t n) { return (nextInt += n) - n; };
    all.average = ints(blocks);
    all.position = ints(blocks);
    kept.position = ints(blocks);
    kept.average = ints(blocks);
    for (BlockList* half : {&shadows, &highlights}) {
      half->average = ints(blocks);
      half->position = ints(blocks);
    }
    combinedAverage = ints(kBothHalves);
    picked.average = ints(kBothHalves);
    picked.position = ints(kBothHalves);
  }
};

// Byte offset of a block's first sample, in 32 bits.
int positionOf(const measure::BlockTable& table, std::int64_t block, int rowStride) {
  return static_cast<int>(std::int64_t{3} * table.xOf(block) + std::int64_t{table.yOf(block)} * rowStride);
}

void listBlocks(const measure::BlockTable& table, int rowStride, HostScratch* s) {
  for (std::int64_t block = 0; block < table.count(); ++block) {
    const measure::BlockRecord& r = table[block];
    const float deviation = measure::evenedOut(r.sparse, r.average);
    const int position = positionOf(table, block, rowStride);
    s->all.append(deviation, r.average, position);
    if (measure::isUsable(r.average)) s->kept.append(deviation, r.average, position);
  }
}

void listHalves(int median, HostScratch* s) {
  for (std::int64_t i = 0; i < s->kept.count; ++i) {
    BlockList& half = s->kept.average[i] < median ? s->shadows : s->highlights;
    half.append(s->kept.deviation[i], s->kept.average[i], s->kept.position[i]);
  }
}

// The candidates to the front of their half, with what they were measured again to be.
void listCandidates(const measure::BlockTable& table, const Noise& noise, int rowStride, HostScratch* s) {
  const measure::Candidates& c = noise.candidates;
  int combined = 0;
  for (int k = 0; k < c.count(); ++k) {
    const measure::UsableBlock& block = c.blocks[k];
    const int position = positionOf(table, block.index, rowStride);
    const bool isShadow = k < c.perHalf;
    const int rank = isShadow ? k : k - c.perHalf;
    s->picked.put(rank, block.deviation, block.average, position);
    (isShadow ? s->shadows : s->highlights).put(rank, table[block.index].dense, block.average, position);
    if (std::isnan(noise.evenedOut[k])) continue;
    s->combinedDeviation[combined] = noise.evenedOut[k];
    s->combinedAverage[combined++] = block.average;
  }
}

int profile(const pixels::PictureView& picture, int rowStride, float* params, void* scratch) {
  measure::Measurement measurement(picture.region.x1, picture.region.y1, measure::Scope::kProfile);
  if (!measurement) return NR_ERROR_MEMORY;
  const pixels::SampleScale scale = pixels::integerScale(255.0f, pixels::Rounding::kTruncate);
  Noise noise;
  if (measurement.add(picture, scale, {}) != measure::Result::kDone || !measurement.noise(&noise)) {
    return NR_ERROR_MEMORY;
  }
  HostScratch s(scratch, measurement.table().count());
  listBlocks(measurement.table(), rowStride, &s);
  if (noise.usable == 0) return NR_ERROR_ARGUMENT;
  listHalves(noise.candidates.median, &s);
  listCandidates(measurement.table(), noise, rowStride, &s);
  if (noise.reason != measure::Reason::kMeasured) return NR_ERROR_STATISTICS;
  const float level = params::withStrength(params::noiseLevelOf(noise.statistic), params[NR_NOISE_LEVEL]);
  params::setMeasured(level, params);
  return static_cast<int>(level);
}

}  // namespace
}  // namespace veskaro::api

extern "C" {

int auto_profile(int wImage, int hImage, int rowStride, float* nrParams, unsigned char* work, unsigned char* inImage) {
  using namespace veskaro;
  if (nrParams == nullptr || work == nullptr || inImage == nullptr) return NR_ERROR_ARGUMENT;
  const std::int64_t blocks = measure::blocksAlong(wImage) * measure::blocksAlong(hImage);
  if (blocks == 0) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const pixels::PictureView picture = {
      pixels::SampleType::kUint8, false, {inImage, inImage + 1, inImage + 2}, 3, rowStride, {0, wImage, 0, hImage}};
  if (reinterpret_cast<std::uintptr_t>(work) % alignof(float) == 0) {
    return api::profile(picture, rowStride, nrParams, work);
  }
  // Floats cannot lie where the host's scratch begins: work beside it and hand the arrays over.
  const std::size_t size = api::HostScratch::bytes(blocks);
  platform::HeapArray<unsigned char> aligned(size, platform::Fill::kNothing);
  if (!aligned) return NR_ERROR_MEMORY;
  std::memcpy(aligned.data(), work, size);
  const int result = api::profile(picture, rowStride, nrParams, aligned.data());
  std::memcpy(work, aligned.data(), size);
  return result;
}

float recalcDeviations(int /*wImage*/, int /*hImage*/, int rowStride, int blockSize, int positBlock,
                       unsigned char* inImage) {
  using namespace veskaro;
  constexpr int kSmallestBlock = 4;
  if (inImage == nullptr || blockSize < kSmallestBlock) return std::numeric_limits<float>::quiet_NaN();
  const platform::DefaultFpEnvironment environment;
  unsigned char* const block = inImage + positBlock;
  const pixels::PictureView picture = {pixels::SampleType::kUint8,  false, {block, block + 1, block + 2}, 3, rowStride,
                                       {0, blockSize, 0, blockSize}};
  float deviation;
  measure::measureDensely(picture, pixels::integerScale(255.0f, pixels::Rounding::kTruncate), 0, 0, blockSize,
                          &deviation);
  return deviation;
}

}  // extern "C"
