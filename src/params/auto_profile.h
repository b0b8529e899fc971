#ifndef VESKARO_PARAMS_AUTO_PROFILE_H
#define VESKARO_PARAMS_AUTO_PROFILE_H

#include <cstddef>

namespace veskaro {

// A picture of three interleaved samples a pixel seen at 8 bits: every sample itself, or the high-order byte of 16-bit
// ones, so that no copy of the picture is needed to profile it. Offsets count samples.
struct ProfileView {
  const unsigned char* samples;
  int rowStride;   // samples from row to row
  int sampleSize;  // bytes from sample to sample

  int operator[](std::ptrdiff_t offset) const { return samples[offset * sampleSize]; }
};

// Bytes of scratch, aligned for float, that profiling a picture of this size needs.
std::size_t profileScratchSize(int width, int height);

// Measures the noise and writes the four measured entries of params. Returns the noise level or a negative nr_result.
int profileNoise(int width, int height, const ProfileView& picture, float* params, void* scratch);

}  // namespace veskaro

#endif  // VESKARO_PARAMS_AUTO_PROFILE_H
