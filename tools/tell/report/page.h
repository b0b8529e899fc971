// The parts of the report's page; the html holds @style@, @data@ and @script@ where the others go.
#pragma once

namespace tool::tell {

extern const char* const kReportHtml;
extern const char* const kReportStyle;
extern const char* const kReportScript;

}  // namespace tool::tell
