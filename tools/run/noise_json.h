// A measured noise as JSON, whole: profile prints it, and other pictures are denoised by it.
#pragma once

#include <veskaronr.h>

#include <string>

#include "run/exact_json.h"

namespace tool::run {

Json jsonOfNoise(const vnr_noise& noise);

// The noise in what profile --json printed for one picture. Throws Failure.
vnr_noise noiseOfProfile(const std::string& text);

}  // namespace tool::run
