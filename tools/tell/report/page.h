// The parts of the reports' pages; where @marks@ stand something is filled in.
#pragma once

namespace tool::tell {

extern const char* const kReportHtml;
extern const char* const kReportStyle;
extern const char* const kReportScript;
extern const char* const kBatchHtml;
extern const char* const kBatchScript;

}  // namespace tool::tell
