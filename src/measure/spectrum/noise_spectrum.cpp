#include "measure/spectrum/noise_spectrum.h"

#include <algorithm>

namespace veskaro::measure {
namespace {

constexpr int kPowers = kFrequencies * kFrequencies;
constexpr double kMost = 1e30;           // linear light has no largest value
constexpr double kRoundingPower = 1e-6;  // of the working scale

// The lowest frequencies see slopes of the picture too: they have no more than a little over what comes after them.
void boundLowest(double* p) {
  constexpr double kRise = 1.1;
  double &mean = p[0], &first = p[1], &second = p[2], &diagonal = p[kFrequencies + 1];
  first = std::min(first, kRise * std::max(diagonal, second));
  p[kFrequencies] = first;
  mean = std::min(mean, kRise * std::max(first, diagonal));
}

}  // namespace

std::size_t spectrumBlocks(std::int64_t blocks) {
  constexpr std::int64_t kPart = 100, kFewest = 12;
  return static_cast<std::size_t>(std::max((blocks + kPart - 1) / kPart, kFewest));
}

void NoiseSpectrum::add(const BlockSpectrum& block, double factor) {
  for (int c = 0; c < kSpectrumChannels; ++c) {
    for (int i = 0; i < kPowers; ++i) sums_[c][i] += static_cast<double>(block.power[c][i]) * factor;
  }
  ++count_;
}

void NoiseSpectrum::finish(double factor, double ofLuma, float (*power)[kPowers]) const {
  if (count_ == 0) return;
  for (int c = 0; c < kSpectrumChannels; ++c) {
    double p[kPowers];
    const double share = (c == kSpectrumY ? factor * ofLuma : factor) / static_cast<double>(count_);
    for (int i = 0; i < kPowers; ++i) p[i] = sums_[c][i] * share;
    boundLowest(p);
    if (!(*std::max_element(p, p + kPowers) > kRoundingPower)) continue;
    for (int i = 0; i < kPowers; ++i) power[c][i] = static_cast<float>(p[i] < kMost ? p[i] : kMost);
  }
}

}  // namespace veskaro::measure
