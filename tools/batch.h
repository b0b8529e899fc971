// All files of a command line, one after another.
#pragma once

#include "options.h"

namespace tool {

// Returns the exit status: 0 when all files are done, 1 when some failed.
int runBatch(const Options& options);

}  // namespace tool
