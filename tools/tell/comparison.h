// The picture that --compare writes.
#pragma once

#include <string>

#include "pictures/file_io.h"
#include "tell/display.h"

namespace tool::tell {

// Writes a PNG: before, after and magnified difference side by side, and the most changed window of each at its real
// size below. Throws Failure.
void writeComparison(const std::string& path, const DisplayPair& pair, const pictures::Writing& writing);

}  // namespace tool::tell
