// The noise of an image, measured in tiles as libvips makes them.
#pragma once

#include "vips/layout.h"

namespace plugin {

// Reads the whole image once, on libvips's threads. False, with libvips told why, when that fails.
bool measure(VipsImage* image, const Layout& layout, vnr_noise* noise);

}  // namespace plugin
