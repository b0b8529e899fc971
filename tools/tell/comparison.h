// The picture that --compare writes.
#pragma once

#include <string>

#include "tell/display.h"

namespace tool::tell {

// Writes a PNG: before, after and magnified difference side by side, and the most changed window of each at its real
// size below. Replaces a file only when overwrite is set. Throws Failure.
void writeComparison(const std::string& path, const DisplayPair& pair, bool overwrite);

}  // namespace tool::tell
