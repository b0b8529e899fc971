// veskaro-nr tune: one photograph in the browser, with every dial.
#pragma once

#include "command/command_line.h"

namespace tool::command {

// Returns the exit status: 0 when the user or the page is done, 1 when the photograph cannot be opened.
int execute(const Tune& command);

}  // namespace tool::command
