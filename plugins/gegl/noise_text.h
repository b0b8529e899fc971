// A measurement as text, "level=393.2 luma=4.1 ...", which a person can write and a graph's file can keep.
#pragma once

#include <string>

#include "veskaronr.h"

namespace plugin {

// Every number so that it reads back as it was.
std::string textOf(const vnr_noise& noise);

// False when the text is none. What is not named is 0; the noise counts as measured unless the text says otherwise.
bool noiseFrom(const char* text, vnr_noise* noise);

}  // namespace plugin
