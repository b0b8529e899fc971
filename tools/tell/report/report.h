// The report: one page that shows what was done to a picture and why, without anything from elsewhere.
#pragma once

#include <string>

#include "pictures/file_io.h"
#include "run/outcome.h"
#include "run/settings.h"
#include "tell/display.h"

namespace tool::tell {

// Of a file whose way has ended well. Throws Failure.
void writeReport(const std::string& path, const run::FileResult& file, const DisplayPair& display,
                 const run::Settings& settings, const pictures::Writing& writing);

}  // namespace tool::tell
