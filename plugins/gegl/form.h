// The form in which pixels of GEGL are filtered.
//
// Integers stay as they are, so that pictures of 8 and 16 bits have the bytes that the library has everywhere. All else
// becomes floats: as displayed, where noise is even enough for the filters, or as light, if that is wished.
#pragma once

#include <gegl.h>

#include "veskaronr.h"

namespace plugin {

struct Form {
  const Babl* format = nullptr;
  int type = 0;      // vnr_type
  int samples = 0;   // of a pixel: 1 or 3, and alpha
  int encoding = 0;  // vnr_encoding

  bool operator==(const Form& other) const { return format == other.format && encoding == other.encoding; }
  std::size_t pixelBytes() const;

  // Pixels in memory without gaps, which lie at (x, y) of the picture.
  vnr_picture picture(void* pixels, int x, int y, int width, int height) const;
};

// For pixels of a format; null: unknown.
Form formFor(const Babl* source, bool asLight);

// Floats that are infinite or not a number become 0, since the filters take none.
void makeFinite(const Form& form, void* pixels, std::size_t count);

}  // namespace plugin
