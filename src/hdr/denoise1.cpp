#include "hdr/denoise1.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "VeskaroNRLib.h"
#include "hdr/chroma.h"
#include "hdr/luminance.h"
#include "hdr/statistics.h"
#include "platform/fp_environment.h"

namespace veskaro {

namespace {

constexpr int kNominalStrength = 100;
constexpr int kSmallestSide = 32;  // a line holds both taps of the coarsest level
constexpr int kWorkPlanes = 5;

bool sizeAccepted(const PictureSize& size) {
  if (size.width < kSmallestSide || size.height < kSmallestSide) return false;
  return std::int64_t{size.width} * size.height < (std::int64_t{1} << 31) / 8;
}

}  // namespace

HdrSettings settingsOfStrength(int strength) {
  const bool inRange = strength >= 50 && strength <= 150;
  const int s = inRange ? strength : kNominalStrength;
  const double perStep = s > kNominalStrength ? 0.012 : 0.004;
  HdrSettings settings;
  settings.chromaOnly = s < kNominalStrength;
  settings.strong = s > kNominalStrength;
  settings.chromaThreshold = static_cast<float>(0.4 + perStep * (s - kNominalStrength));
  settings.luminanceThreshold = static_cast<float>(settings.chromaThreshold * 0.0033333333333333335);
  return settings;
}

int denoiseHdr(const HdrSettings& settings, const PictureSize& size, unsigned char* picture, unsigned char* result) {
  // The vector forms never touch it, so that it takes up no memory then; the plain ones fill before they read.
  HeapArray<float> workMemory(kWorkPlanes * size.pixels(), Fill::kNothing);
  if (!workMemory) return NR_ERROR_MEMORY;
  unsigned char* const work = reinterpret_cast<unsigned char*>(workMemory.data());

  HdrStatistics levels;
  const int measured = measurePicture(size, picture, settings.luminanceThreshold, &levels);
  if (measured < 0) return measured;

  const int written =
      denoiseChroma({size, settings.strong, settings.chromaThreshold, std::exp(levels.sumShadows),
                     std::exp(levels.sumSaturation), work, picture, result, settings.chromaOnly ? nullptr : picture});
  if (settings.chromaOnly || written < 0) return written;

  const int rebuilt = denoiseLuminance({size, settings.strong, levels.luminanceShadows, levels.luminanceMedian,
                                        levels.luminance99, levels.luminanceThreshold, work, picture, result});
  if (rebuilt < 0) std::memset(result, 0, 4 * size.pixels());
  return rebuilt;
}

}  // namespace veskaro

extern "C" int denoise1(int denoisingStrength, const int iMax, const int jMax, const int /*rowStride*/,
                        const int /*spp*/, const int bpsImage, unsigned char* pImage, unsigned char* resBuf) {
  const veskaro::PictureSize size = {iMax, jMax};
  if (!pImage || !resBuf || !veskaro::sizeAccepted(size)) return NR_ERROR_ARGUMENT;
  const veskaro::platform::DefaultFpEnvironment environment;
  const veskaro::HdrSettings settings = veskaro::settingsOfStrength(denoisingStrength);
  if (bpsImage != 32) return settings.chromaOnly ? NR_REFUSED : NR_ERROR_ARGUMENT;
  return veskaro::denoiseHdr(settings, size, pImage, resBuf);
}
