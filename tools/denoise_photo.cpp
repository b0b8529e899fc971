#include "denoise_photo.h"

#include <fmt/format.h>

#include "failure.h"
#include "timer.h"

namespace tool {

PhotoResult denoisePhoto(const Photo& photo, const Settings& settings) {
  PhotoResult result;
  result.asked = prepareParams(settings);
  result.profile = measureNoise(photo, result.asked);
  result.used = result.asked;
  result.rgb.resize(photo.rgb.size());
  const Timer timer;
  const int code =
      denoise2(photo.width, photo.height, 3, 3 * photo.width, photo.bits, settings.tile, settings.threads,
               result.used.data(), nullptr, const_cast<unsigned char*>(photo.rgb.data()), result.rgb.data());
  result.seconds = timer.seconds();
  if (code == NR_ERROR_MEMORY) throw Failure("memory exhausted");
  if (code < 0) throw Failure(fmt::format("the library refused the picture (code {})", code));
  return result;
}

}  // namespace tool
