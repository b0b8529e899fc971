#include "run/denoise_hdr.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/failure.h"
#include "base/timer.h"

namespace tool::run {
namespace {

constexpr int kFull = 100, kStrongestChromaOnly = 99;

// The threshold that denoise1 measures with at a strength.
float initialThreshold(int strength) {
  const double scale = strength < kFull ? 0.4 + 0.004 * (strength - kFull) : 0.4 + 0.012 * (strength - kFull);
  return static_cast<float>(static_cast<float>(scale) / 300.0);
}

void check(int code) {
  if (code == NR_ERROR_STATISTICS) {
    throw Failure("the picture has no range of brightness to measure (all of it black or of one colour)");
  }
  if (code == NR_ERROR_MEMORY) throw Failure("memory exhausted");
  if (code <= 0) throw Failure(fmt::format("the library refused the picture (code {})", code));
}

}  // namespace

HdrStatistics hdrStatistics(pictures::HdrPicture& picture, int strength) {
  HdrStatistics statistics{};
  check(hdr_stats(0, picture.width, picture.height, 4 * picture.width, 4, 32, initialThreshold(strength),
                  picture.planar.data(), statistics.data()));
  return statistics;
}

DenoisedHdr denoiseHdr(pictures::HdrPicture& picture, const Settings& settings) {
  DenoisedHdr result;
  result.strength = settings.strength.value_or(kFull);
  if (settings.keepsLuminance()) result.strength = std::min(result.strength, kStrongestChromaOnly);
  result.chromaOnly = result.strength < kFull;
  Timer timer;
  result.statistics = hdrStatistics(picture, result.strength);
  result.statisticsSeconds = timer.lap();
  result.planar.resize(picture.planar.size());
  check(denoise1(result.strength, picture.width, picture.height, 4 * picture.width, 4, 32, picture.planar.data(),
                 result.planar.data()));
  result.seconds = timer.seconds();
  return result;
}

}  // namespace tool::run
