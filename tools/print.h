// What the user reads about a file: a line, or more lines.
#pragma once

#include <string>

#include "process.h"

namespace tool {

// "in.jpg -> out.jpg: 1600 x 1200, ..."; ends without a new line.
std::string lineOf(const Outcome& outcome, const Options& options);

// Text without what would move the cursor or break the line: file names may hold anything.
std::string printable(std::string text);

// Further lines for --verbose, each ended.
std::string detailsOf(const Outcome& outcome, const Options& options);

}  // namespace tool
