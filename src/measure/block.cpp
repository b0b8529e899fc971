#include "measure/block.h"

#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <limits>

#include "pixels/level.h"

namespace veskaro::measure {
namespace {

using pixels::kChannels;

constexpr int kGridStep = 8;
constexpr float kBaseSum = 288.0f;  // makes up for comparisons skipped because a sample was clipped

// Where the samples of one block lie, counted from its first pixel.
class BlockSamples {
 public:
  BlockSamples(const pixels::PictureView& picture, int x, int y)
      : first_{picture.at(0, x, y), picture.at(1, x, y), picture.at(2, x, y)},
        pixelStride_(picture.pixelStride),
        rowStride_(picture.rowStride) {}

  const unsigned char* at(int channel, int dx, int dy) const {
    return first_[channel] + dy * rowStride_ + dx * pixelStride_;
  }
  std::ptrdiff_t pixelStride() const { return pixelStride_; }
  std::ptrdiff_t rowStride() const { return rowStride_; }

 private:
  const unsigned char* first_[kChannels];
  std::ptrdiff_t pixelStride_, rowStride_;
};

// Working values of integers that use all bits of their type, cut off: their upper eight bits.
template <typename Sample>
class WholeIntegerReader {
 public:
  explicit WholeIntegerReader(const BlockSamples& samples) : samples_(samples) {}

  const BlockSamples& samples() const { return samples_; }
  int value(const unsigned char* at) const {
    return static_cast<int>(pixels::loadSample<Sample>(at)) >> (8 * (sizeof(Sample) - 1));
  }
  int operator()(int channel, int dx, int dy) const { return value(samples_.at(channel, dx, dy)); }
  bool sawOnlyNumbers() const { return true; }

 private:
  const BlockSamples samples_;
};

// Those of integers of fewer bits: the factor is a power of two, so shifting does it.
template <typename Sample>
class IntegerReader {
 public:
  IntegerReader(const BlockSamples& samples, const pixels::SampleScale& scale)
      : samples_(samples), white_(static_cast<int>(scale.white)) {
    while ((white_ + 1) >> right_ > 256) ++right_;
    while ((white_ + 1) << left_ < 256) ++left_;
  }

  const BlockSamples& samples() const { return samples_; }
  int value(const unsigned char* at) const {
    const int v = pixels::loadSample<Sample>(at);
    return (v < white_ ? v : white_) << left_ >> right_;
  }
  int operator()(int channel, int dx, int dy) const { return value(samples_.at(channel, dx, dy)); }
  bool sawOnlyNumbers() const { return true; }

 private:
  const BlockSamples samples_;
  int white_;
  int left_ = 0, right_ = 0;
};

class FloatReader {
 public:
  FloatReader(const BlockSamples& samples, const pixels::SampleScale& scale) : samples_(samples), scale_(scale) {}

  const BlockSamples& samples() const { return samples_; }
  int value(const unsigned char* at) {
    const float v = pixels::toWorking(pixels::loadSample<float>(at), scale_);
    sawOnlyNumbers_ = sawOnlyNumbers_ && std::isfinite(v);
    return static_cast<int>(pixels::truncated(v, 255.0f));
  }
  int operator()(int channel, int dx, int dy) { return value(samples_.at(channel, dx, dy)); }
  bool sawOnlyNumbers() const { return sawOnlyNumbers_; }

 private:
  const BlockSamples samples_;
  const pixels::SampleScale& scale_;
  bool sawOnlyNumbers_ = true;
};

bool isClipped(int value) {
  return value == 0 || value == 255;
}

// One channel's sample of the grid with the neighbours to its right and below it.
struct GridSums {
  int deviation[kChannels] = {};
  int sum[kChannels] = {};
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

template <class Reader>
bool sumGrid(Reader read, GridSums* grid) {
  for (int dy = 0; dy < kBlockSize; dy += kGridStep) {
    for (int dx = 0; dx < kBlockSize; dx += kGridStep) {
      for (int k = 0; k < kChannels; ++k) {
        grid->add(k, read(k, dx, dy), read(k, dx + 1, dy), read(k, dx, dy + 1));
      }
    }
  }
  return read.sawOnlyNumbers();
}

// The pairs of neighbours on both sides of the interior lines.
struct LineSums {
  float deviation = 0.0f;
  std::int64_t clipped = 0;

  // Without a branch: adding 0 leaves the sum as it is.
  void add(int a, int b) {
    const auto isMeasurable = [](int value) { return static_cast<unsigned>(value - 2) < 252u; };
    const int counts = isMeasurable(a) & isMeasurable(b);
    deviation += static_cast<float>(std::abs(a - b) * counts);
    clipped += 1 - counts;
  }

  float scaled(int blockSize) const {
    const std::int64_t examined = std::int64_t{18} * blockSize;
    if (clipped == examined) return std::numeric_limits<float>::quiet_NaN();
    const float pairs = static_cast<float>(examined);
    const float scale = static_cast<float>(std::int64_t{6} * (blockSize - 1) * (blockSize - 1));
    return ((pairs / (pairs - static_cast<float>(clipped))) * deviation / pairs) * scale;
  }
};

// The pairs across three lines, at first and first + 1 of each: next is the way from a sample to the other of its pair.
template <class Reader>
void addPairs(Reader& read, const unsigned char* const (&first)[3], std::ptrdiff_t offset, std::ptrdiff_t next,
              LineSums* sums) {
  for (const unsigned char* const line : first) sums->add(read.value(line + offset), read.value(line + offset + next));
}

template <class Reader>
bool sumLines(Reader read, int blockSize, LineSums* total) {
  const int lines[3] = {blockSize / 4 - 1, blockSize / 2 - 1, static_cast<int>(std::int64_t{3} * blockSize / 4) - 1};
  const BlockSamples& s = read.samples();
  LineSums sums;
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      const unsigned char* const columns[3] = {s.at(k, lines[0], 0), s.at(k, lines[1], 0), s.at(k, lines[2], 0)};
      addPairs(read, columns, across * s.rowStride(), s.pixelStride(), &sums);
    }
  }
  for (int across = 0; across < blockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      const unsigned char* const rows[3] = {s.at(k, 0, lines[0]), s.at(k, 0, lines[1]), s.at(k, 0, lines[2])};
      addPairs(read, rows, across * s.pixelStride(), s.rowStride(), &sums);
    }
  }
  *total = sums;
  return read.sawOnlyNumbers();
}

// In double and always in the same order, so that the sums are the same wherever they are formed.
struct RootSums {
  double sum = 0.0, deviation = 0.0;

  static double rootOf(const unsigned char* sample) {
    const float v = pixels::loadSample<float>(sample);
    return static_cast<double>(std::copysign(std::sqrt(std::fabs(v)), v));
  }
  void add(const unsigned char* a, const unsigned char* b) {
    const double ra = rootOf(a), rb = rootOf(b);
    sum += ra + rb;
    deviation += std::fabs(ra - rb);
  }
};

// Calls visit with the reader of the block at (x, y).
template <class Visit>
bool withReader(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                const Visit& visit) {
  const BlockSamples samples(picture, x, y);
  switch (picture.type) {
    case pixels::SampleType::kUint8:
      if (scale.white == 255.0f) return visit(WholeIntegerReader<std::uint8_t>(samples));
      return visit(IntegerReader<std::uint8_t>(samples, scale));
    case pixels::SampleType::kUint16:
      if (scale.white == 65535.0f) return visit(WholeIntegerReader<std::uint16_t>(samples));
      return visit(IntegerReader<std::uint16_t>(samples, scale));
    default:
      return visit(FloatReader(samples, scale));
  }
}

double brightnessDivisor(int average) {
  constexpr double kSlope = (static_cast<double>(0.2f) - 1.0) / 255.0;
  return 1.0 + static_cast<double>(static_cast<float>(average)) * kSlope;
}

}  // namespace

void prefetchBlock(const pixels::PictureView& piece, int x, int y) {
  const pixels::Region part = pixels::intersection(piece.region, {x, x + kBlockSize, y, y + kBlockSize});
  for (int row = part.y0; row < part.y1; ++row) {
    for (const int column : {part.x0, (part.x0 + part.x1) / 2, part.x1 - 1}) {
      __builtin_prefetch(piece.at(1, column, row));
    }
  }
}

bool measureSparsely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                     SparseMeasurement* measured) {
  GridSums grid;
  const bool onlyNumbers = withReader(picture, scale, x, y, [&](const auto& reader) { return sumGrid(reader, &grid); });
  const float perPair = 1.0f / (kBaseSum - static_cast<float>(grid.clipped));
  int deviation = 0;
  for (const int d : grid.deviation) deviation += static_cast<int>(static_cast<float>(d) * kBaseSum * perPair);
  const int average = (grid.sum[0] / 16 + grid.sum[1] / 16 + grid.sum[2] / 16) / 3;
  *measured = {deviation, deviation == 0 ? 0 : average};
  return onlyNumbers;
}

bool measureDensely(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y, int blockSize,
                    float* deviation) {
  LineSums sums;
  const bool onlyNumbers =
      withReader(picture, scale, x, y, [&](const auto& reader) { return sumLines(reader, blockSize, &sums); });
  *deviation = sums.scaled(blockSize);
  return onlyNumbers;
}

bool measureRoots(const pixels::PictureView& picture, int x, int y, RootMeasurement* measured) {
  constexpr int kLines[3] = {7, 15, 23};
  constexpr double kPairs = 18.0 * kBlockSize;
  RootSums sums;
  for (int across = 0; across < kBlockSize; ++across) {
    for (int k = 0; k < kChannels; ++k) {
      for (const int line : kLines) {
        sums.add(picture.at(k, x + line, y + across), picture.at(k, x + line + 1, y + across));
        sums.add(picture.at(k, x + across, y + line), picture.at(k, x + across, y + line + 1));
      }
    }
  }
  *measured = {static_cast<float>(sums.sum / (2.0 * kPairs)), static_cast<float>(sums.deviation / kPairs)};
  return std::isfinite(sums.sum);
}

float evenedOut(int deviation, int average) {
  return static_cast<float>(static_cast<double>(static_cast<float>(deviation)) / brightnessDivisor(average));
}

float evenedOut(float denseDeviation, int average) {
  constexpr double kPairScale = 5766.0;  // 6 * 31^2: the scale of a block's dense measurement
  return static_cast<float>(static_cast<double>(denseDeviation) / brightnessDivisor(average) * (1.0 / kPairScale));
}

}  // namespace veskaro::measure
