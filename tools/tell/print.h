// What the user reads about a file: a line, or more lines.
#pragma once

#include <string>

#include "run/outcome.h"
#include "run/settings.h"

namespace tool::tell {

// "in.jpg -> out.jpg: 1600 x 1200, ..."; ends without a new line. The file's way has ended well.
std::string lineOf(const run::FileResult& file, const run::Settings& settings);

// Further lines for --verbose, each ended.
std::string detailsOf(const run::Outcome& outcome, const run::Settings& settings);

// "8.1, 7.9, 8.3" in red, green and blue; "8.1" when all are equal.
std::string sigmaOf(const run::NoiseProfile& profile);

// "8-bit grey", "16-bit RGB", "RGBE".
std::string samplesOf(const pictures::Layout& layout);

}  // namespace tool::tell
