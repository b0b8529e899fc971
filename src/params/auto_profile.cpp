// Noise profile of a picture: the smoothest 32 x 32 blocks of its darker and of its brighter half show its noise.
#include "params/auto_profile.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>

#include "VeskaroNRLib.h"
#include "params/ranking.h"
#include "platform/fp_environment.h"

namespace veskaro {
namespace {

constexpr int kSamplesPerPixel = 3;
constexpr int kBlockSize = 32;
constexpr int kGridStep = 8;
constexpr int kCandidates = 32;  // most blocks taken from each half
constexpr int kLowestAverage = 4;
constexpr int kHighestAverage = 251;
constexpr int kAveraged = 4;           // blocks whose mean is the statistic
constexpr float kBaseSum = 288.0f;     // makes up for comparisons skipped because a sample was clipped
constexpr double kPairScale = 5766.0;  // 6 * 31^2: the scale of a block's second measurement
// Noise falls with brightness: the divisor that evens it out is 1 at black and 0.2 (single precision) at white.
constexpr double kBrightnessSlope = (static_cast<double>(0.2f) - 1.0) / 255.0;
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

int blocksAlong(int pixels) {
  return pixels > 0 ? pixels / kBlockSize : 0;
}

// Parallel arrays, one entry a block.
struct BlockList {
  float* deviation;
  int* average;
  int* position;
};

// The arrays of one profile, carved from the scratch without gaps, floats first.
struct Scratch {
  BlockList all, kept, shadows, highlights;
  float* combinedDeviation;
  int* combinedAverage;
  BlockList picked;

  Scratch(void* memory, std::size_t blocks) {
    constexpr std::size_t kBothHalves = 2 * kCandidates;
    auto* nextFloat = static_cast<float*>(memory);
    const auto floats = [&](std::size_t n) { return (nextFloat += n) - n; };
    all.deviation = floats(blocks);
    kept.deviation = floats(blocks);
    shadows.deviation = floats(blocks);
    highlights.deviation = floats(blocks);
    combinedDeviation = floats(kBothHalves);
    picked.deviation = floats(kBothHalves);
    auto* nextInt = reinterpret_cast<int*>(nextFloat);
    const auto ints = [&](std::size_t n) { return (nextInt += n) - n; };
    all.average = ints(blocks);
    all.position = ints(blocks);
    kept.position = ints(blocks);
    kept.average = ints(blocks);
    shadows.average = ints(blocks);
    shadows.position = ints(blocks);
    highlights.average = ints(blocks);
    highlights.position = ints(blocks);
    combinedAverage = ints(kBothHalves);
    picked.average = ints(kBothHalves);
    picked.position = ints(kBothHalves);
  }
};

bool isClipped(int value) {
  return value == 0 || value == 255;
}

double brightnessDivisor(int average) {
  return 1.0 + static_cast<double>(static_cast<float>(average)) * kBrightnessSlope;
}

// What the sparse grid of one block shows, channel by channel.
struct GridMeasurement {
  int deviation[kSamplesPerPixel] = {};
  int sum[kSamplesPerPixel] = {};
  int clipped = 0;

  void add(int channel, int value, int right, int below) {
    sum[channel] += value;
    if (isClipped(value)) {
      clipped += 2;
      return;
    }
    for (const int neighbour : {right, below}) {
      if (isClipped(neighbour)) {
        ++clipped;
      } else {
        deviation[channel] += std::abs(value - neighbour);
      }
    }
  }
};

GridMeasurement measureGrid(const ProfileView& picture, std::ptrdiff_t position) {
  GridMeasurement grid;
  for (int dy = 0; dy < kBlockSize; dy += kGridStep) {
    for (int dx = 0; dx < kBlockSize; dx += kGridStep) {
      for (int k = 0; k < kSamplesPerPixel; ++k) {
        const std::ptrdiff_t at = position + std::ptrdiff_t{dy} * picture.rowStride + dx * kSamplesPerPixel + k;
        grid.add(k, picture[at], picture[at + kSamplesPerPixel], picture[at + picture.rowStride]);
      }
    }
  }
  return grid;
}

void measureBlock(const ProfileView& picture, int block, const BlockList& all) {
  const GridMeasurement grid = measureGrid(picture, all.position[block]);
  const float perPair = 1.0f / (kBaseSum - static_cast<float>(grid.clipped));
  int deviation = 0;
  for (const int d : grid.deviation) deviation += static_cast<int>(static_cast<float>(d) * kBaseSum * perPair);
  // A block without any measured difference says nothing about noise: average 0 has it dropped.
  const int average = deviation == 0 ? 0 : (grid.sum[0] / 16 + grid.sum[1] / 16 + grid.sum[2] / 16) / 3;
  all.deviation[block] =
      static_cast<float>(static_cast<double>(static_cast<float>(deviation)) / brightnessDivisor(average));
  all.average[block] = average;
}

void measureBlocks(int blocksX, int blocksY, const ProfileView& picture, const BlockList& all) {
  int block = 0;
  for (int by = 0; by < blocksY; ++by) {
    for (int bx = 0; bx < blocksX; ++bx, ++block) {
      const std::int64_t position =
          std::int64_t{kBlockSize} * kSamplesPerPixel * bx + std::int64_t{kBlockSize} * by * picture.rowStride;
      all.position[block] = static_cast<int>(position);
      measureBlock(picture, block, all);
    }
  }
}

void append(const BlockList& from, int index, const BlockList& to, int* count) {
  to.deviation[*count] = from.deviation[index];
  to.average[*count] = from.average[index];
  to.position[*count] = from.position[index];
  ++*count;
}

int keepUsable(int blocks, const BlockList& all, const BlockList& kept) {
  int count = 0;
  for (int i = 0; i < blocks; ++i) {
    if (all.average[i] >= kLowestAverage && all.average[i] <= kHighestAverage) append(all, i, kept, &count);
  }
  return count;
}

struct HalfCounts {
  int shadows = 0;
  int highlights = 0;
};

// The average of rank count / 2. Averages are bytes, so counting them spares the sort.
int medianOf(int count, const int* averages) {
  int blocksWith[256] = {};
  for (int i = 0; i < count; ++i) ++blocksWith[averages[i]];
  int average = 0;
  for (int upTo = blocksWith[0]; upTo <= count / 2; upTo += blocksWith[average]) ++average;
  return average;
}

HalfCounts splitAtMedian(int count, const Scratch& s) {
  HalfCounts counts;
  const int median = medianOf(count, s.kept.average);
  for (int i = 0; i < count; ++i) {
    if (s.kept.average[i] < median) {
      append(s.kept, i, s.shadows, &counts.shadows);
    } else {
      append(s.kept, i, s.highlights, &counts.highlights);
    }
  }
  return counts;
}

// Moves the count blocks of lowest deviation to the front of the list, lowest first.
void bringSmoothestToFront(int count, int blocks, const BlockList& list, const BlockList& picked, int* order) {
  rankLowest(count, blocks, list.deviation, order);
  int taken = 0;
  while (taken < count) append(list, order[taken], picked, &taken);
  int moved = 0;
  while (moved < count) append(picked, moved, list, &moved);
}

bool isMeasurable(int value) {
  return value > 1 && value < 254;
}

// The dense measurement along three interior lines in each direction. Not a number when every pair is clipped.
float remeasureBlock(const ProfileView& picture, int blockSize, std::ptrdiff_t position) {
  const int lines[3] = {blockSize / 4 - 1, blockSize / 2 - 1, static_cast<int>(std::int64_t{3} * blockSize / 4) - 1};
  float deviation = 0.0f;
  std::int64_t clipped = 0;
  const auto measurePair = [&](std::ptrdiff_t at, std::ptrdiff_t step) {
    const int a = picture[at];
    const int b = picture[at + step];
    if (isMeasurable(a) && isMeasurable(b)) {
      deviation += static_cast<float>(std::abs(a - b));
    } else {
      ++clipped;
    }
  };
  const std::ptrdiff_t right = kSamplesPerPixel;
  const std::ptrdiff_t down = picture.rowStride;
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kSamplesPerPixel; ++k) {
      for (const int line : lines) measurePair(position + across * down + line * right + k, right);
    }
  }
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kSamplesPerPixel; ++k) {
      for (const int line : lines) measurePair(position + line * down + across * right + k, down);
    }
  }
  const std::int64_t examined = std::int64_t{18} * blockSize;
  if (clipped == examined) return kNotANumber;
  const float pairs = static_cast<float>(examined);
  const float scale = static_cast<float>(std::int64_t{6} * (blockSize - 1) * (blockSize - 1));
  return ((pairs / (pairs - static_cast<float>(clipped))) * deviation / pairs) * scale;
}

// Puts the re-measured candidates of both halves side by side, evened out across brightness. Blocks that could not be
// measured are left out. Returns how many there are.
int combineCandidates(int perHalf, const Scratch& s) {
  int count = 0;
  for (const BlockList* half : {&s.shadows, &s.highlights}) {
    for (int i = 0; i < perHalf; ++i) {
      if (std::isnan(half->deviation[i])) continue;
      const double deviation = static_cast<double>(half->deviation[i]);
      s.combinedDeviation[count] =
          static_cast<float>(deviation / brightnessDivisor(half->average[i]) * (1.0 / kPairScale));
      s.combinedAverage[count] = half->average[i];
      ++count;
    }
  }
  return count;
}

// Mean of the lowest of the count combined deviations.
float meanOfLowest(int count, const Scratch& s, const int* order) {
  const int averaged = count < kAveraged ? count : kAveraged;
  float sum = 0.0f;
  for (int i = 0; i < averaged; ++i) sum += s.combinedDeviation[order[i]];
  return sum / static_cast<float>(averaged);
}

// The noise statistic of the kept blocks. Returns NR_OK or what went wrong.
int measureNoise(int kept, const ProfileView& picture, const Scratch& s, int* order, float* statistic) {
  const HalfCounts counts = splitAtMedian(kept, s);
  int perHalf = counts.shadows < counts.highlights ? counts.shadows : counts.highlights;
  if (perHalf == 0) return NR_ERROR_STATISTICS;
  if (perHalf > kCandidates) perHalf = kCandidates;
  bringSmoothestToFront(perHalf, counts.shadows, s.shadows, s.picked, order);
  bringSmoothestToFront(perHalf, counts.highlights, s.highlights, s.picked, order);
  for (int i = 0; i < perHalf; ++i) {
    s.shadows.deviation[i] = remeasureBlock(picture, kBlockSize, s.shadows.position[i]);
    s.highlights.deviation[i] = remeasureBlock(picture, kBlockSize, s.highlights.position[i]);
  }
  const int combined = combineCandidates(perHalf, s);
  if (combined == 0) return NR_ERROR_STATISTICS;
  if (rankFloats(combined, s.combinedDeviation, order) != combined) return NR_ERROR_MEMORY;
  *statistic = meanOfLowest(combined, s, order);
  return NR_OK;
}

float clampTo(float value, float low, float high) {
  const float raised = value > low ? value : low;
  return raised < high ? raised : high;
}

float noiseLevelOf(float statistic, float strength) {
  constexpr float kFloor = 15.0f;
  const float measured = static_cast<float>(static_cast<double>(statistic) * 35.0 - 15.0);
  const float noise = measured > kFloor ? measured : kFloor;
  if (!(strength >= 0.5f && strength <= 1.5f)) return noise;
  const double factor = std::pow(2.0, 2.0 * (static_cast<double>(strength) - 1.0));
  return static_cast<float>(static_cast<double>(noise) * factor);
}

void writeMeasuredParams(float noise, float* params) {
  const float chromaKeep = static_cast<float>(static_cast<double>(noise) * (-1.0 / 350.0) - 1.0 / 14.0);
  params[NR_NOISE_LEVEL] = noise;
  params[NR_CHROMA_KEEP] = clampTo(chromaKeep, -0.5f, 0.0f);
  params[NR_HIGHLIGHT_START] = 100.0f;
  params[NR_HIGHLIGHT_WIDTH] = clampTo((noise + noise) + 45.0f, 0.0f, 155.0f);
}

}  // namespace

std::size_t profileScratchSize(int width, int height) {
  return 48 * static_cast<std::size_t>(blocksAlong(width)) * static_cast<std::size_t>(blocksAlong(height)) + 1280;
}

int profileNoise(int width, int height, const ProfileView& picture, float* params, void* scratch) {
  const int blocksX = blocksAlong(width);
  const int blocksY = blocksAlong(height);
  const int blocks = blocksX * blocksY;
  const Scratch s(scratch, static_cast<std::size_t>(blocks));
  measureBlocks(blocksX, blocksY, picture, s.all);
  const int count = keepUsable(blocks, s.all, s.kept);
  if (count == 0) return NR_ERROR_ARGUMENT;

  auto* order = static_cast<int*>(std::calloc(static_cast<std::size_t>(count), sizeof(int)));
  if (order == nullptr) return NR_ERROR_MEMORY;
  float statistic = 0.0f;
  const int result = measureNoise(count, picture, s, order, &statistic);
  std::free(order);
  if (result < 0) return result;
  const float noise = noiseLevelOf(statistic, params[NR_NOISE_LEVEL]);
  writeMeasuredParams(noise, params);
  return static_cast<int>(noise);
}

}  // namespace veskaro

extern "C" {

int auto_profile(int wImage, int hImage, int rowStride, float* nrParams, unsigned char* work, unsigned char* inImage) {
  using namespace veskaro;
  if (nrParams == nullptr || work == nullptr || inImage == nullptr) return NR_ERROR_ARGUMENT;
  const platform::DefaultFpEnvironment environment;
  const ProfileView picture = {inImage, rowStride, 1};
  if (reinterpret_cast<std::uintptr_t>(work) % alignof(float) == 0) {
    return profileNoise(wImage, hImage, picture, nrParams, work);
  }
  // Floats cannot lie where the host's scratch begins: work beside it and hand the arrays over.
  const std::size_t size = profileScratchSize(wImage, hImage);
  void* aligned = std::malloc(size);
  if (aligned == nullptr) return NR_ERROR_MEMORY;
  std::memcpy(aligned, work, size);
  const int result = profileNoise(wImage, hImage, picture, nrParams, aligned);
  std::memcpy(work, aligned, size);
  std::free(aligned);
  return result;
}

float recalcDeviations(int /*wImage*/, int /*hImage*/, int rowStride, int blockSize, int positBlock,
                       unsigned char* inImage) {
  constexpr int kSmallestBlock = 4;
  if (inImage == nullptr || blockSize < kSmallestBlock) return veskaro::kNotANumber;
  const veskaro::platform::DefaultFpEnvironment environment;
  return veskaro::remeasureBlock({inImage, rowStride, 1}, blockSize, positBlock);
}

}  // extern "C"
