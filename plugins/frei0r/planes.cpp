#include "frei0r/planes.h"

namespace plugin {

void split(const std::uint8_t* frame, std::size_t pixels, const Planes& planes) {
  std::uint8_t* __restrict red = planes.red, * __restrict green = planes.green, * __restrict blue = planes.blue;
  for (std::size_t i = 0; i < pixels; ++i) {
    red[i] = frame[4 * i];
    green[i] = frame[4 * i + 1];
    blue[i] = frame[4 * i + 2];
  }
}

void join(const Planes& planes, const std::uint8_t* frame, std::size_t pixels, std::uint8_t* out) {
  const std::uint8_t* __restrict red = planes.red, * __restrict green = planes.green, * __restrict blue = planes.blue;
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint8_t alpha = frame[4 * i + 3];
    out[4 * i] = red[i];
    out[4 * i + 1] = green[i];
    out[4 * i + 2] = blue[i];
    out[4 * i + 3] = alpha;
  }
}

}  // namespace plugin
