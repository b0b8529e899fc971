#include "hdr/denoise1.h"

#include <cstdint>
#include <cstring>

#include "VeskaroNRLib.h"
#include "hdr/chroma/chroma.h"
#include "hdr/luminance/luminance.h"
#include "hdr/statistics/statistics.h"
#include "platform/heap_array.h"
#include "platform/log_exp.h"

namespace veskaro::hdr {

namespace {

constexpr int kNominalStrength = 100;
constexpr int kSmallestSide = 32;
constexpr int kWorkPlanes = 5;

ChromaSettings chromaSettings(const HdrSettings& settings, const HdrStatistics& measured) {
  ChromaSettings chroma;
  chroma.fadeIntoMidTones = settings.midTonesToo;
  chroma.thresholdScale = settings.chromaThreshold;
  chroma.shadowsLevel = platform::expOf(measured.sumShadows);
  chroma.saturationLevel = platform::expOf(measured.sumSaturation);
  return chroma;
}

LuminanceSettings luminanceSettings(const HdrSettings& settings, const HdrStatistics& measured) {
  LuminanceSettings luminance;
  luminance.includeMidTones = settings.midTonesToo;
  luminance.shadowsLevel = measured.luminanceShadows;
  luminance.median = measured.luminanceMedian;
  luminance.saturationLevel = measured.luminance99;
  luminance.thresholdScale = measured.luminanceThreshold;
  return luminance;
}

}  // namespace

HdrSettings settingsOfStrength(int strength) {
  const bool inRange = strength >= 50 && strength <= 150;
  const int s = inRange ? strength : kNominalStrength;
  const double perStep = s > kNominalStrength ? 0.012 : 0.004;
  HdrSettings settings;
  settings.chromaOnly = s < kNominalStrength;
  settings.midTonesToo = s > kNominalStrength;
  settings.chromaThreshold = static_cast<float>(0.4 + perStep * (s - kNominalStrength));
  settings.luminanceThreshold = static_cast<float>(settings.chromaThreshold * 0.0033333333333333335);
  return settings;
}

bool sizeAccepted(const PictureSize& size) {
  if (size.width < kSmallestSide || size.height < kSmallestSide) return false;
  return std::int64_t{size.width} * size.height < (std::int64_t{1} << 31) / 8;
}

int denoiseHdr(const HdrSettings& settings, const Picture& picture, const Picture& result) {
  // The vector forms never touch it, so that it takes up no memory then; the plain ones fill before they read.
  platform::HeapArray<float> workMemory(kWorkPlanes * picture.size.pixels(), platform::Fill::kNothing);
  if (!workMemory) return NR_ERROR_MEMORY;
  unsigned char* const work = reinterpret_cast<unsigned char*>(workMemory.data());

  HdrStatistics measured;
  const int code = measurePicture(readOnly(picture), settings.luminanceThreshold, &measured);
  if (code < 0) return code;

  const ChromaSettings chroma = chromaSettings(settings, measured);
  if (settings.chromaOnly) return denoiseChroma(chroma, readOnly(picture), result, work);
  const int replaced = denoiseChromaInPlace(chroma, picture, result, work);
  if (replaced < 0) return replaced;

  const int rebuilt = denoiseLuminance(luminanceSettings(settings, measured), readOnly(picture), result, work);
  if (rebuilt < 0) std::memset(result.bytes, 0, result.byteCount());
  return rebuilt;
}

}  // namespace veskaro::hdr
