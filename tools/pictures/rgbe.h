// RGBE pixels as floats proportional to light, and back: a channel is its byte times 2 to the exponent less 136.
#pragma once

#include <vector>

#include "pictures/light.h"

namespace tool::pictures {

// Red, green and blue of each pixel.
std::vector<float> toLight(const HdrPicture& picture);

// The same pixels as HdrPicture::planar has them, grey thrice, rounded to the nearest. What is not above 0 becomes 0,
// what is beyond all numbers very bright.
Bytes fromLight(const Light& light);

}  // namespace tool::pictures
