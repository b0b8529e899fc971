#include "measure/spectrum/block_spectrum.h"

#include "measure/haar/measured_row.h"

namespace veskaro::measure {
namespace {

// Halves of cos(k pi / 16), and of the root of a half for the mean.
constexpr float kC0 = 0.353553391f, kC1 = 0.490392640f, kC2 = 0.461939766f, kC3 = 0.415734806f, kC4 = 0.353553391f,
                kC5 = 0.277785117f, kC6 = 0.191341716f, kC7 = 0.0975451610f;

// Even frequencies of the sums of samples that mirror each other, odd ones of their differences.
constexpr float kOfSums[4][4] = {
    {kC0, kC0, kC0, kC0}, {kC2, kC6, -kC6, -kC2}, {kC4, -kC4, -kC4, kC4}, {kC6, -kC2, kC2, -kC6}};
constexpr float kOfDifferences[4][4] = {
    {kC1, kC3, kC5, kC7}, {kC3, -kC7, -kC1, -kC5}, {kC5, -kC1, kC7, kC3}, {kC7, -kC5, kC3, -kC1}};

// The transform down kColumns columns at once; both have rows of kHaarBlock floats.
template <int kColumns>
void transformColumns(const float (*in)[kHaarBlock], float (*out)[kHaarBlock]) {
  float sums[4][kColumns], differences[4][kColumns];
  for (int i = 0; i < 4; ++i) {
    for (int x = 0; x < kColumns; ++x) {
      sums[i][x] = in[i][x] + in[7 - i][x];
      differences[i][x] = in[i][x] - in[7 - i][x];
    }
  }
  for (int u = 0; u < 4; ++u) {
    const float(&s)[4] = kOfSums[u], (&d)[4] = kOfDifferences[u];
    for (int x = 0; x < kColumns; ++x) {
      out[2 * u][x] = (sums[0][x] * s[0] + sums[1][x] * s[1]) + (sums[2][x] * s[2] + sums[3][x] * s[3]);
      out[2 * u + 1][x] =
          (differences[0][x] * d[0] + differences[1][x] * d[1]) + (differences[2][x] * d[2] + differences[3][x] * d[3]);
    }
  }
}

using Plane = float[kHaarBlock][kHaarBlock];
constexpr int kStep = 4, kPlaces = 3;

// Adds the squares at three places beside each other. Rows of the transform down are columns of the one across.
void addSquares(const float (*down)[kHaarBlock], float* power) {
  Plane turned, across;
  for (int y = 0; y < kFrequencies; ++y) {
    for (int x = 0; x < kHaarBlock; ++x) turned[x][y] = down[y][x];
  }
  for (int place = 0; place < kPlaces; ++place) {
    transformColumns<kFrequencies>(turned + place * kStep, across);
    for (int u = 0; u < kFrequencies; ++u) {
      for (int v = 0; v < kFrequencies; ++v) power[u * kFrequencies + v] += across[u][v] * across[u][v];
    }
  }
}

// Of one channel, by horizontal, then vertical frequency; the mean of both ways is the same either way.
void measurePlane(const Plane& pixels, float* power) {
  float squares[kFrequencies * kFrequencies] = {};
  for (int place = 0; place < kPlaces; ++place) {
    Plane down;
    transformColumns<kHaarBlock>(pixels + place * kStep, down);
    addSquares(down, squares);
  }
  for (int u = 0; u < kFrequencies; ++u) {
    for (int v = 0; v < kFrequencies; ++v) {
      const float both = squares[u * kFrequencies + v] + squares[v * kFrequencies + u];
      power[u * kFrequencies + v] = both / static_cast<float>(2 * kPlaces * kPlaces);
    }
  }
}

bool isFinite(const BlockSpectrum& spectrum) {
  float zero = 0.0f;
  for (const auto& channel : spectrum.power) {
    for (const float power : channel) zero += power * 0.0f;
  }
  return zero == 0.0f;
}

template <typename Sample>
bool measureSamples(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                    BlockSpectrum* spectrum) {
  Plane planes[kSpectrumChannels];
  for (int i = 0; i < kHaarBlock; ++i) {
    MeasuredRow row;
    if (!loadRow<Sample>(picture, scale, x, y + i, &row)) return false;
    toDifferences(row, planes[kSpectrumY][i], planes[kSpectrumBMinusY][i], planes[kSpectrumRMinusY][i]);
  }
  for (int c = 0; c < kSpectrumChannels; ++c) measurePlane(planes[c], spectrum->power[c]);
  if (!isFinite(*spectrum)) *spectrum = {};
  return true;
}

}  // namespace

bool measureSpectrum(const pixels::PictureView& picture, const pixels::SampleScale& scale, int x, int y,
                     BlockSpectrum* spectrum) {
  return pixels::withSampleType(
      picture.type, [&](auto sample) { return measureSamples<decltype(sample)>(picture, scale, x, y, spectrum); });
}

}  // namespace veskaro::measure
