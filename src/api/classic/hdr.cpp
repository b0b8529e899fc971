// denoise1 and the functions that it is made of, as the classic interface exports them.
#include <algorithm>
#include <iterator>
#include <limits>

#include "VeskaroNRLib.h"
#include "hdr/chroma/chroma.h"
#include "hdr/denoise1.h"
#include "hdr/detail/smooth_line.h"
#include "hdr/luminance/luminance.h"
#include "hdr/rgbe/ybr.h"
#include "hdr/statistics/percentile.h"
#include "hdr/statistics/statistics.h"
#include "platform/fp_environment.h"

namespace hdr = veskaro::hdr;
using veskaro::platform::DefaultFpEnvironment;

extern "C" {

int denoise1(int denoisingStrength, const int iMax, const int jMax, const int /*rowStride*/, const int /*spp*/,
             const int bpsImage, unsigned char* pImage, unsigned char* resBuf) {
  const hdr::PictureSize size = {iMax, jMax};
  if (!pImage || !resBuf || !hdr::sizeAccepted(size)) return NR_ERROR_ARGUMENT;
  const DefaultFpEnvironment environment;
  const hdr::HdrSettings settings = hdr::settingsOfStrength(denoisingStrength);
  if (bpsImage != 32) return settings.chromaOnly ? NR_REFUSED : NR_ERROR_ARGUMENT;
  return hdr::denoiseHdr(settings, {size, pImage}, {size, resBuf});
}

int hdr_stats(int /*denoisingProc*/, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int /*bpsImage*/,
              float initialSeuil, unsigned char* pImage, float* hdrStats) {
  const hdr::PictureSize size = {iMax, jMax};
  if (size.isEmpty()) return NR_ERROR_STATISTICS;
  if (!pImage || !hdrStats || size.pixels() > std::numeric_limits<int>::max()) return NR_ERROR_ARGUMENT;
  const DefaultFpEnvironment environment;
  hdr::HdrStatistics s;
  const int result = hdr::measurePicture({size, pImage}, initialSeuil, &s);
  if (result != NR_OK) return result;
  const float values[] = {s.sumShadows,      s.sumSaturation, s.luminanceShadows,
                          s.luminanceMedian, s.luminance99,   s.luminanceThreshold};
  std::copy(std::begin(values), std::end(values), hdrStats);
  return NR_OK;
}

int percentileD(float perc, size_t imageSize, int histoLen, int* histo) {
  const veskaro::platform::DefaultFpEnvironment environment;
  return hdr::percentileBin(perc, imageSize, histoLen, histo);
}

int denoise_chroma(int reductionStrength, float seuil, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int bpsImage,
                   float shadowsLevel, float satLevel, unsigned char* work, unsigned char* pImage,
                   unsigned char* resImage) {
  if (bpsImage != 32) return NR_REFUSED;
  const hdr::PictureSize size = {iMax, jMax};
  if (size.isEmpty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const DefaultFpEnvironment environment;
  hdr::ChromaSettings settings;
  settings.fadeIntoMidTones = reductionStrength > 0;
  settings.thresholdScale = seuil;
  settings.shadowsLevel = shadowsLevel;
  settings.saturationLevel = satLevel;
  return hdr::denoiseChroma(settings, {size, pImage}, {size, resImage}, work);
}

void smooth_line(float* temp, float* base, int st, int size, int sc) {
  const DefaultFpEnvironment environment;
  hdr::smoothAlignedLine(temp, base, st, size, sc);
}

int denoise_lumin(int reductionStrength, int iMax, int jMax, int /*rowStride*/, int /*spp*/, int bpsImage,
                  float shadowsLevel, float medY, float satY, float seuil, unsigned char* work, unsigned char* pImage,
                  unsigned char* resImage) {
  if (bpsImage != 32) return NR_ERROR_ARGUMENT;
  const hdr::PictureSize size = {iMax, jMax};
  if (size.isEmpty() || !work || !pImage || !resImage) return NR_ERROR_ARGUMENT;
  const DefaultFpEnvironment environment;
  hdr::LuminanceSettings settings;
  settings.includeMidTones = reductionStrength != 0;
  settings.shadowsLevel = shadowsLevel;
  settings.median = medY;
  settings.saturationLevel = satY;
  settings.thresholdScale = seuil;
  return hdr::denoiseLuminance(settings, {size, pImage}, {size, resImage}, work);
}

int rgb2ybr(float* rgb, float* ybr) {
  const hdr::Ybr result = hdr::toYbr({rgb[0], rgb[1], rgb[2]});
  ybr[0] = result.y;
  ybr[1] = result.cb;
  ybr[2] = result.cr;
  return 1;
}

int ybr2rgb(float* ybr, float* rgb) {
  const hdr::Rgb result = hdr::toRgb({ybr[0], ybr[1], ybr[2]});
  rgb[0] = result.r;
  rgb[1] = result.g;
  rgb[2] = result.b;
  return 1;
}

}  // extern "C"
