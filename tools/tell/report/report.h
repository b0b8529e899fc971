// The report: one page that shows what was done to a picture and why, without anything from elsewhere.
#pragma once

#include <string>

#include "run/outcome.h"
#include "run/settings.h"
#include "tell/display.h"

namespace tool::tell {

// Of a file whose way has ended well. Replaces a file only when overwrite is set. Throws Failure.
void writeReport(const std::string& path, const run::FileResult& file, const DisplayPair& display,
                 const run::Settings& settings, bool overwrite);

}  // namespace tool::tell
