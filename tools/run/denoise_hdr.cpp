#include "run/denoise_hdr.h"

#include <VeskaroNRLib.h>

#include <algorithm>

#include "base/timer.h"
#include "run/denoise_linear.h"

namespace tool::run {
namespace {

constexpr int kFull = 100, kStrongestChromaOnly = 99;

int strengthOf(const Settings& settings) {
  return settings.keepsLuminance() ? std::min(settings.strength, kStrongestChromaOnly) : settings.strength;
}

DenoisedHdr throughDenoise1(const pictures::HdrPicture& picture, const Settings& settings) {
  if (settings.noise)
    throw Failure(Kind::kUnsupported, "denoise1, which this preset uses, goes by its own measurement");
  const int strength = strengthOf(settings);
  // From strength 100 on denoise1 denoises the chroma of its input in place.
  pictures::HdrPicture input = picture;
  pictures::Bytes planar(input.planar.size());
  Timer timer;
  const HdrStatistics statistics = hdrStatistics(input, strength);
  const double measuring = timer.lap();
  requireSuccess(
      denoise1(strength, input.width, input.height, 4 * input.width, 4, 32, input.planar.data(), planar.data()));
  const double denoising = timer.lap();
  const Change change = changeOf(picture, planar);
  const HdrWork work{statistics, strength, strength < kFull};
  return {std::move(planar), {work, measuring, denoising, change, whyUnchanged(change)}};
}

}  // namespace

DenoisedHdr denoiseHdr(const pictures::HdrPicture& picture, const Settings& settings, const Watch& watch) {
  return takesGrain(settings.rule()) ? denoiseLinear(picture, settings, watch) : throughDenoise1(picture, settings);
}

}  // namespace tool::run
