// The report: one page that shows what was done to a picture and why, without anything from elsewhere.
#pragma once

#include "display.h"
#include "options.h"
#include "process.h"

namespace tool {

// Throws Failure.
void writeReport(const std::string& path, const Outcome& outcome, const DisplayPair& display, const Options& options);

// The parts of the page; the html holds @style@, @data@ and @script@ where the others go.
extern const char* const kReportHtml;
extern const char* const kReportStyle;
extern const char* const kReportScript;

}  // namespace tool
