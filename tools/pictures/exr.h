// OpenEXR through its own library: half and single floats as they are, every channel, every attribute of the header.
#pragma once

#include "pictures/light.h"

namespace tool::pictures {

// Throws Failure for what could not be kept: several parts, subsampled channels, whole numbers for colour.
LightPicture decodeExr(const Bytes& file);

Bytes encodeExr(const LightPicture& picture);

}  // namespace tool::pictures
