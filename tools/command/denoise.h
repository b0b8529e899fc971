// veskaro-nr without the name of a command: all files of the command line, one after another.
#pragma once

#include "command/command_line.h"

namespace tool::command {

// Returns the exit status: 0 when all files are done, 1 when some failed.
int execute(const Denoise& command);

}  // namespace tool::command
