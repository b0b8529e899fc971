// A frame's red, green and blue in a plane each, which the library reads faster than every fourth byte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace plugin {

struct Planes {
  std::uint8_t *red, *green, *blue;
};

void split(const std::uint8_t* frame, std::size_t pixels, const Planes& planes);

// With the alpha of the frame, which may be the output.
void join(const Planes& planes, const std::uint8_t* frame, std::size_t pixels, std::uint8_t* out);

}  // namespace plugin
