#include "run/denoise_photo.h"

#include <fmt/format.h>

#include "base/failure.h"
#include "base/timer.h"

namespace tool::run {
namespace {

// Params come back with what was measured, or the defaults.
void denoise(const pictures::Photo& photo, const Settings& settings, Params& params, pictures::Bytes& rgb) {
  // The library reads the picture only.
  const int code = denoise2(photo.width, photo.height, 3, 3 * photo.width, photo.bits, settings.tile, settings.threads,
                            params.data(), nullptr, const_cast<unsigned char*>(photo.rgb.data()), rgb.data());
  if (code == NR_ERROR_MEMORY) throw Failure("memory exhausted");
  if (code < 0) throw Failure(fmt::format("the library refused the picture (code {})", code));
}

}  // namespace

DenoisedPhoto denoisePhoto(const pictures::Photo& photo, const Settings& settings) {
  const Parameters asked = settings.parameters();
  Params params = vectorOf(asked, settings.effectiveStrength());
  applyTuning(asked);
  NoiseProfile noise = measureNoise(photo, params);
  pictures::Bytes rgb(photo.rgb.size());
  const Timer timer;
  denoise(photo, settings, params, rgb);
  const double denoising = timer.seconds(), measuring = noise.seconds;
  const Parameters used = usedParameters(asked, params, noise.measured());
  const Change change = changeOf(photo, rgb);
  const std::optional<std::string> why = whyUnchanged(photo, used, noise, change);
  return {std::move(rgb), {PhotoWork{std::move(noise), used}, measuring, denoising, change, why}};
}

}  // namespace tool::run
