#include "measure/spectrum/block_spectrum.h"

#include <algorithm>

#include "measure/haar/measured_row.h"
#include "pixels/dct.h"

namespace veskaro::measure {
namespace {

using Plane = float[kHaarBlock][kHaarBlock];
constexpr int kStep = 4, kPlaces = 3;

// One transform of 8 x 8 pixels, across and down; adds the squares, but for their weights.
void addSquares(const float (*plane)[kHaarBlock], int xStart, float* squares) {
  float across[kFrequencies][kFrequencies];
  for (int y = 0; y < kFrequencies; ++y) {
    std::copy_n(plane[y] + xStart, kFrequencies, across[y]);
    pixels::forwardDct(across[y]);
  }
  for (int u = 0; u < kFrequencies; ++u) {
    float column[kFrequencies];
    for (int y = 0; y < kFrequencies; ++y) column[y] = across[y][u];
    pixels::forwardDct(column);
    for (int v = 0; v < kFrequencies; ++v) squares[v * kFrequencies + u] += column[v] * column[v];
  }
}

// Of one channel; noise is the same both ways, so their mean is taken.
void measurePlane(const Plane& plane, float* power) {
  float squares[kFrequencies * kFrequencies] = {};
  for (int y = 0; y < kPlaces; ++y) {
    for (int x = 0; x < kPlaces; ++x) addSquares(plane + y * kStep, x * kStep, squares);
  }
  for (int v = 0; v < kFrequencies; ++v) {
    for (int u = 0; u < kFrequencies; ++u) {
      const float both = squares[v * kFrequencies + u] + squares[u * kFrequencies + v];
      const float weight = pixels::kDctWeight[v] * pixels::kDctWeight[u] / static_cast<float>(2 * kPlaces * kPlaces);
      power[v * kFrequencies + u] = both * weight;
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
