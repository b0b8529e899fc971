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
  DenoisedPhoto result;
  result.noise = measureNoise(photo, params);
  result.rgb.resize(photo.rgb.size());
  const Timer timer;
  denoise(photo, settings, params, result.rgb);
  result.seconds = timer.seconds();
  result.parameters = usedParameters(asked, params, result.noise.measured());
  return result;
}

}  // namespace tool::run
