// RGBE pixels as floats proportional to light, and back: a channel is its byte times 2 to the exponent less 136.
#pragma once

#include <vector>

#include "pictures/hdr.h"

namespace tool::pictures {

// Red, green and blue of each pixel.
std::vector<float> toLight(const HdrPicture& picture);

// The same pixels as HdrPicture::planar has them, rounded to the nearest. What is not above 0 becomes 0.
Bytes fromLight(const std::vector<float>& light, int width, int height);

}  // namespace tool::pictures
