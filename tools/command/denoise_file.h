// One file from name to name: read, decode, denoise, encode, write, show.
#pragma once

#include <functional>

#include "command/command_line.h"
#include "find/plan.h"
#include "run/outcome.h"
#include "run/pool.h"

namespace tool::command {

// Told the share of the file that is done.
using Progress = std::function<void(double share)>;

// Never throws for what is wrong with one file, nor when it is interrupted: the result holds it.
run::FileResult denoiseFile(const find::Plan& plan, std::size_t index, const Denoise& command, run::Pool& pool,
                            const Progress& progress);

}  // namespace tool::command
