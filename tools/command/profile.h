// veskaro-nr profile: the noise of pictures, without denoising them.
#pragma once

#include "command/command_line.h"

namespace tool::command {

// Returns the exit status: 0 when all files are measured, 1 when some failed.
int execute(const Profile& command);

}  // namespace tool::command
