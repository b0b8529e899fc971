#include "run/hdr_statistics.h"

#include <VeskaroNRLib.h>
#include <fmt/format.h>

#include "base/failure.h"

namespace tool::run {
namespace {

// The threshold that denoise1 measures with at a strength.
float initialThreshold(int strength) {
  const double scale = strength < 100 ? 0.4 + 0.004 * (strength - 100) : 0.4 + 0.012 * (strength - 100);
  return static_cast<float>(static_cast<float>(scale) / 300.0);
}

void requireEnoughPixels(int width, int height) {
  if (width < 32 || height < 32) {
    throw Failure(Kind::kUnsupported,
                  fmt::format("{} x {} pixels are too few (denoise1 takes at least 32 x 32)", width, height));
  }
}

}  // namespace

void requireSuccess(int code) {
  if (code == NR_ERROR_STATISTICS) {
    throw Failure(Kind::kUnsupported,
                  "the picture has no range of brightness to measure (all of it black or of one colour)");
  }
  if (code == NR_ERROR_MEMORY) throw Failure(Kind::kNoMemory, "memory exhausted");
  if (code <= 0) throw Failure(fmt::format("the library refused the picture (code {})", code));
}

HdrStatistics hdrStatistics(pictures::HdrPicture& picture, int strength) {
  requireEnoughPixels(picture.width, picture.height);
  HdrStatistics statistics{};
  requireSuccess(hdr_stats(0, picture.width, picture.height, 4 * picture.width, 4, 32, initialThreshold(strength),
                           picture.planar.data(), statistics.data()));
  return statistics;
}

}  // namespace tool::run
