// What the library is told of an image of libvips.
#pragma once

#include <vips/vips.h>

#include "veskaronr.h"

namespace plugin {

struct Layout {
  int type;      // vnr_type
  int channels;  // vnr_picture's; bands beyond them are kept
  int encoding;  // vnr_encoding
  float white;   // 0: of the type

  // What a region holds.
  vnr_picture picture(VipsRegion* region) const;
};

// The layout of an image's pixels once they are of `format`, one that the library takes. False, with libvips told why,
// when its bands are no red, green and blue. A white of 0 is that of the interpretation.
bool layoutOf(VipsImage* image, double white, Layout* layout, VipsBandFormat* format);

}  // namespace plugin
