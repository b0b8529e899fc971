// One file from name to name: read, decode, denoise, encode, write, show.
#pragma once

#include <functional>
#include <set>
#include <string>

#include "command/command_line.h"
#include "find/jobs.h"
#include "run/outcome.h"

namespace tool::command {

// The results of this run so far, by their full names: no two inputs may have the same.
using Taken = std::set<std::string>;

// Told the share of the file that is done.
using Progress = std::function<void(double share)>;

// Never throws for what is wrong with one file; the result holds it. Throws Interrupted.
run::FileResult denoiseFile(const find::Job& job, const Denoise& command, Taken& taken, const Progress& progress);

}  // namespace tool::command
