// Standard error for this program's words alone: some libraries write there what they think of a damaged file.
#pragma once

#include <cstdio>

namespace tool {

// From here on what anything else writes to standard error goes nowhere. Call once, while there is one thread.
void keepOwnWords();

// Where this program's own words go.
std::FILE* standardError();
int standardErrorNumber();

}  // namespace tool
