// The statistics of a high-dynamic-range picture, as denoise1 measures them before it filters.
#pragma once

#include <array>

#include "pictures/hdr.h"

namespace tool::run {

using HdrStatistics = std::array<float, 6>;

// The six figures that denoise1 works with at a strength. Throws Failure.
HdrStatistics hdrStatistics(pictures::HdrPicture& picture, int strength);

// Throws Failure when the library's answer on a high-dynamic-range picture says that something went wrong.
void requireSuccess(int code);

}  // namespace tool::run
