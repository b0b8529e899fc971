// What calls of the library share.
#pragma once

#include <veskaronr.h>

#include "pictures/photo.h"

namespace tool::run {

// Samples in the photograph's layout. The library reads a picture that is only given to be read.
vnr_picture pictureOf(const pictures::Photo& photo, const std::uint8_t* samples);

// Throws Interrupted for a cancelled call, and Failure for any other that has not succeeded.
void requireDone(int result);

}  // namespace tool::run
