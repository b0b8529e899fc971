#include "run/noise_profile.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/timer.h"

namespace tool::run {
namespace {

using pictures::Bytes;
using pictures::Photo;

constexpr int kBlock = 32;
constexpr std::size_t kCandidates = 32;  // most of each half
constexpr std::size_t kDeciding = 4;     // of all candidates
constexpr float kFirstDifferences = 96.0f;

// The high byte of every 16-bit sample: what the profile looks at.
Bytes eightBits(const Photo& photo) {
  const std::size_t count = photo.pixels() * 3;
  Bytes copy(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint16_t sample;
    std::memcpy(&sample, photo.rgb.data() + 2 * i, 2);
    copy[i] = static_cast<std::uint8_t>(sample >> 8);
  }
  return copy;
}

// The arrays that auto_profile leaves in its scratch, one entry a block each unless said otherwise:
//   float  deviation, 3 working lists, 64 deviations of candidates, 64 working entries
//   int    brightness, position, 3 working lists, positions of shadow blocks, a list, positions of highlight blocks
class Scratch {
 public:
  explicit Scratch(std::size_t blocks) : blocks_(blocks), bytes_(48 * blocks + 1280) {}
  unsigned char* data() { return bytes_.data(); }

  float deviation(std::size_t block) const { return at<float>(block); }
  float candidateDeviation(std::size_t i) const { return at<float>(4 * blocks_ + i); }
  int brightness(std::size_t block) const { return at<int>(integers() + block); }
  int position(std::size_t block) const { return at<int>(integers() + blocks_ + block); }
  int shadowPosition(std::size_t i) const { return at<int>(integers() + 5 * blocks_ + i); }
  int highlightPosition(std::size_t i) const { return at<int>(integers() + 7 * blocks_ + i); }

 private:
  std::size_t integers() const { return 4 * blocks_ + 4 * kCandidates; }
  template <typename T>
  T at(std::size_t i) const {
    T value;
    std::memcpy(&value, bytes_.data() + 4 * i, 4);
    return value;
  }
  std::size_t blocks_;
  std::vector<unsigned char> bytes_;
};

bool usable(int brightness) {
  return brightness >= 4 && brightness <= 251;
}

// How many blocks of each half are candidates: up to 32 of the smaller half when split at the median brightness.
std::size_t candidatesPerHalf(const std::vector<NoiseBlock>& blocks) {
  std::vector<int> brightness;
  for (const NoiseBlock& block : blocks) brightness.push_back(block.brightness);
  if (brightness.empty()) return 0;
  const auto middle = brightness.begin() + static_cast<std::ptrdiff_t>(brightness.size() / 2);
  std::nth_element(brightness.begin(), middle, brightness.end());
  const int median = *middle;
  const std::size_t shadows = static_cast<std::size_t>(
      std::count_if(brightness.begin(), brightness.end(), [median](int value) { return value < median; }));
  return std::min({shadows, brightness.size() - shadows, kCandidates});
}

// Marks the candidates, gives them the deviation of their second measurement, and marks the lowest four.
void markCandidates(const Scratch& scratch, std::size_t perHalf, std::vector<std::size_t>& blockAt,
                    const std::vector<int>& positions, NoiseProfile& profile) {
  std::vector<NoiseBlock*> candidates;
  for (std::size_t i = 0; i < 2 * perHalf; ++i) {
    const int position = i < perHalf ? scratch.shadowPosition(i) : scratch.highlightPosition(i - perHalf);
    const auto found = std::find(positions.begin(), positions.end(), position);
    if (found == positions.end()) return;
    NoiseBlock& block = profile.blocks[blockAt[static_cast<std::size_t>(found - positions.begin())]];
    block.candidate = true;
    block.deviation = scratch.candidateDeviation(i);
    candidates.push_back(&block);
  }
  const auto end = std::remove_if(candidates.begin(), candidates.end(),
                                  [](const NoiseBlock* block) { return !std::isfinite(block->deviation); });
  candidates.erase(end, candidates.end());
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const NoiseBlock* a, const NoiseBlock* b) { return a->deviation < b->deviation; });
  candidates.resize(std::min(candidates.size(), std::min<std::size_t>(kDeciding, 2 * perHalf)));
  for (NoiseBlock* block : candidates) {
    block->chosen = true;
    profile.statistic += block->deviation / static_cast<float>(candidates.size());
  }
}

void collectBlocks(const Scratch& scratch, int columns, int rows, NoiseProfile& profile) {
  std::vector<std::size_t> blockAt;  // usable block of each position
  std::vector<int> positions;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const std::size_t i =
          static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
      if (!usable(scratch.brightness(i))) continue;
      blockAt.push_back(profile.blocks.size());
      positions.push_back(scratch.position(i));
      // The first measurement adds up 96 differences of 16 sample pixels.
      profile.blocks.push_back(
          {column, row, scratch.brightness(i), scratch.deviation(i) / kFirstDifferences, false, false});
    }
  }
  if (profile.measured()) markCandidates(scratch, candidatesPerHalf(profile.blocks), blockAt, positions, profile);
}

}  // namespace

std::string NoiseProfile::whyDefaults() const {
  switch (result) {
    case NR_ERROR_ARGUMENT:
      return "no 32 x 32 block of the picture is usable (the picture is too small, or all of it black, white or flat)";
    case NR_ERROR_STATISTICS:
      return "the picture has no two brightnesses to tell shadows from highlights";
    case NR_ERROR_MEMORY:
      return "there was no memory to measure the noise";
    default:
      return "";
  }
}

NoiseProfile measureNoise(const Photo& photo, const Params& params) {
  const Timer timer;
  NoiseProfile profile;
  profile.params = params;
  const int columns = photo.width / kBlock, rows = photo.height / kBlock;
  Scratch scratch(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  Bytes copy;
  if (photo.bits == 16) copy = eightBits(photo);
  const Bytes& picture = photo.bits == 16 ? copy : photo.rgb;
  // The library reads the picture only.
  profile.result = auto_profile(photo.width, photo.height, 3 * photo.width, profile.params.data(), scratch.data(),
                                const_cast<unsigned char*>(picture.data()));
  profile.seconds = timer.seconds();
  if (profile.measured()) profile.noiseLevel = profile.params[NR_NOISE_LEVEL];
  collectBlocks(scratch, columns, rows, profile);
  return profile;
}

}  // namespace tool::run
