#include "measure/haar/haar_block.h"

#include <cmath>

#include "measure/haar/measured_row.h"

namespace veskaro::measure {
namespace {

template <int kSize>
using Plane = float[kSize][kSize];

// Clipped noise is less noise. Values are clipped where rounding may have put them at either end; what is linear has no
// white that clips.
int clippedPixels(const MeasuredRow& row, pixels::Encoding encoding) {
  const float low = encoding == pixels::Encoding::kLinear ? 0.0f : 1.0f;
  const float high = encoding == pixels::Encoding::kLinear ? HUGE_VALF : 254.0f;
  int clipped = 0;
  for (int i = 0; i < kHaarBlock; ++i) {
    int ends = 0;
    for (int k = 0; k < 3; ++k) ends |= static_cast<int>(row.v[k][i] <= low) | static_cast<int>(row.v[k][i] >= high);
    clipped += ends;
  }
  return clipped;
}

void toYcc(const MeasuredRow& row, float* y, float* cb, float* cr) {
  toDifferences(row, y, cb, cr);
  for (int i = 0; i < kHaarBlock; ++i) {
    cb[i] *= 1.0f / 1.772f;
    cr[i] *= 1.0f / 1.402f;
  }
}

// A sum for every column of coefficients, so that a row of them is added at once.
struct Sums {
  static constexpr int kColumns = kHaarBlock / 2;
  float diagonal[kChannels][kColumns] = {}, straight[kChannels][kColumns] = {}, product[kPairs][kColumns] = {};

  static float mean(const float* sums, int columns) {
    double sum = 0.0;
    for (int x = 0; x < columns; ++x) sum += static_cast<double>(sums[x]);
    return static_cast<float>(sum / (columns * columns));
  }
};

// Two rows of a channel: their means (twice), and the sums of the details' squares. The diagonal details are kept.
template <int kColumns>
void splitRows(const float* upper, const float* lower, float* means, float* diagonal, float* diagonals,
               float* straights) {
  for (int x = 0; x < kColumns; ++x) {
    const float a = upper[2 * x], b = upper[2 * x + 1], c = lower[2 * x], d = lower[2 * x + 1];
    const float top = a + b, bottom = c + d, topStep = a - b, bottomStep = c - d;
    const float horizontal = (topStep + bottomStep) * 0.5f, vertical = (top - bottom) * 0.5f;
    means[x] = (top + bottom) * 0.5f;
    diagonal[x] = (topStep - bottomStep) * 0.5f;
    diagonals[x] += diagonal[x] * diagonal[x];
    straights[x] += horizontal * horizontal + vertical * vertical;
  }
}

template <int kSize>
void split(const Plane<kSize>* in, Plane<kSize / 2>* means, Sums* sums) {
  constexpr int kColumns = kSize / 2;
  for (int y = 0; y < kColumns; ++y) {
    float diagonal[kChannels][kColumns];
    for (int c = 0; c < kChannels; ++c) {
      splitRows<kColumns>(in[c][2 * y], in[c][2 * y + 1], means[c][y], diagonal[c], sums->diagonal[c],
                          sums->straight[c]);
    }
    for (int x = 0; x < kColumns; ++x) {
      sums->product[kYCb][x] += diagonal[kY][x] * diagonal[kCb][x];
      sums->product[kYCr][x] += diagonal[kY][x] * diagonal[kCr][x];
      sums->product[kCbCr][x] += diagonal[kCb][x] * diagonal[kCr][x];
    }
  }
}

template <int kSize>
void measureScale(const Plane<kSize>* in, int scale, Plane<kSize / 2>* means, HaarBlock* block) {
  Sums sums;
  split<kSize>(in, means, &sums);
  for (int c = 0; c < kChannels; ++c) block->diagonal[scale][c] = Sums::mean(sums.diagonal[c], kSize / 2);
  for (int p = 0; p < kPairs; ++p) block->product[scale][p] = Sums::mean(sums.product[p], kSize / 2);
  if (scale >= kStructureScales) return;
  for (int c = 0; c < kChannels; ++c) block->straight[scale][c] = Sums::mean(sums.straight[c], kSize / 2);
}

// Of samples so large that their squares overflow nothing is known.
bool isFinite(const HaarBlock& block) {
  const auto* const values = reinterpret_cast<const float*>(&block);
  float zero = 0.0f;
  for (std::size_t i = 0; i < sizeof(block) / sizeof(float); ++i) zero += values[i] * 0.0f;
  return zero == 0.0f;
}

double sum(const Plane<2>& plane) {
  return (static_cast<double>(plane[0][0]) + static_cast<double>(plane[0][1])) +
         (static_cast<double>(plane[1][0]) + static_cast<double>(plane[1][1]));
}

template <typename Sample>
bool measureSamples(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                    HaarBlock* block) {
  Plane<16> pixels[kChannels];
  Plane<8> halves[kChannels];
  Plane<4> quarters[kChannels];
  Plane<2> eighths[kChannels];
  int clipped = 0;
  for (int i = 0; i < kHaarBlock; ++i) {
    MeasuredRow row;
    if (!loadRow<Sample>(picture, scale, x, y + i, &row)) return false;
    clipped += clippedPixels(row, scale.encoding);
    toYcc(row, pixels[kY][i], pixels[kCb][i], pixels[kCr][i]);
  }
  measureScale<16>(pixels, 0, halves, block);
  measureScale<8>(halves, 1, quarters, block);
  measureScale<4>(quarters, 2, eighths, block);
  // The coarsest means are 8 times those of their pixels.
  block->luma = static_cast<float>(sum(eighths[kY]) / (4.0 * 8.0));
  block->clipped = static_cast<float>(clipped) / (kHaarBlock * kHaarBlock);
  if (!isFinite(*block)) *block = {{}, {}, {}, 0.0f, 1.0f};
  return true;
}

}  // namespace

bool measureHaar(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y, HaarBlock* block) {
  return pixels::withSampleType(
      picture.type, [&](auto sample) { return measureSamples<decltype(sample)>(picture, scale, x, y, block); });
}

}  // namespace veskaro::measure
