// What kind of picture a file is; and of what is not read, why, and what to do.
#pragma once

#include <string>

#include "pictures/formats.h"

namespace tool::pictures {

// The format by the file's content. Throws Failure for what is none, and for camera raw files, by content or name:
// what could be read of most is a thumbnail.
Format recognise(const Bytes& file, const std::string& name);

}  // namespace tool::pictures
