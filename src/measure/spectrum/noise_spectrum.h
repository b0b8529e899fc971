// From the spectra of a picture's smoothest blocks to that of its noise.
#ifndef VESKARO_MEASURE_SPECTRUM_NOISE_SPECTRUM_H
#define VESKARO_MEASURE_SPECTRUM_NOISE_SPECTRUM_H

#include <cstddef>
#include <cstdint>

#include "measure/spectrum/block_spectrum.h"

namespace veskaro::measure {

// How many of so many blocks tell the noise's spectrum: the smoothest 1 %, 12 at least.
std::size_t spectrumBlocks(std::int64_t blocks);

// The mean of blocks' spectra.
class NoiseSpectrum {
 public:
  // Factor: evens out the noise over brightness.
  void add(const BlockSpectrum& block, double factor);
  // With a factor on all power and one on that of luminance. No powers where none was added, or of a channel that has
  // nothing but rounding errors.
  void finish(double factor, double ofLuma, float (*power)[kFrequencies * kFrequencies]) const;

 private:
  double sums_[kSpectrumChannels][kFrequencies * kFrequencies] = {};
  std::size_t count_ = 0;
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_SPECTRUM_NOISE_SPECTRUM_H
